/* Edits a record, loads a library that stands beside the platform's, and looks for a record. */
#include "vr/record.h"
#include "vr/vr.h"

#include <stdio.h>

int main(void) {
    UtilInitRecord start = {0, 0, NULL};
    UtilInit(&start);
    VrString record = StrToVrStr("Hartwell\376Ashford");
    VrString town = StrToVrStr("Dover");
    UtilPosition position = {2, -1, 0, 0};
    VrString edited = UtilInsertReplace(&position, record, town, 0);
    if (edited != record) free_mem(&record);
    VrString value = extract_field(2, 2, 0, edited);
    VrWord processes = DllLoad("psapi", NULL);
    files_init();
    VrString none;
    int absent = VrRecordRead("none\\none", 0, &none) == kVrRecordAbsent;
    printf("%s %d\n", (char*)VrStrText(value), processes != 0 && absent);
    free_mem(&value);
    free_mem(&town);
    free_mem(&edited);
    VrExit(0);
    return 0;
}
