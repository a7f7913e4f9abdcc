/* A host with one mistake, chosen by its argument; with "none" it makes none. The lines of a
 * mistake are counted from the one that names it. */
#define VR_MODULE "host"

#include <stdio.h>
#include <string.h>

#include "vr/vr.h"

static const char* fault = "none";
static char *block, *same;
static VrString string, sameString;

static int Is(const char* name) {
    return strcmp(fault, name) == 0;
}

/* A string with three attributes, long enough to have a memo. */
static VrString Filled(VrString s) {
    memset(VrStrText(s), 'a', 200);
    VrStrText(s)[50] = VrStrText(s)[100] = kVrAttributeMark;
    return s;
}

static VrString Edit(VrString s, int32_t attribute) {
    UtilPosition position = {attribute, 0, 0, 0};
    return UtilInsertReplace(&position, s, VR_SHARED_STRING(TrueVrStr), 1);
}

static void GiveBack(void) {
    if (Is("twice")) {
        same = block = alloc_memory(12);
        free_mem(&block);
        free_mem(&same);
    }
    if (Is("inside")) {
        block = alloc_memory(12);
        same = block + 4;
        free_mem(&same);
        free_mem(&block);
    }
    if (Is("stranger")) {
        block = (char*)&fault;
        free_mem(&block);
    }
    if (Is("number")) {
        block = (char*)(VrWord)7;
        free_mem(&block);
    }
    if (Is("resized")) {
        same = block = alloc_memory(12);
        free_mem(&block);
        same = realloc_mem(same, 20);
        free_mem(&same);
    }
    if (Is("edited")) {
        sameString = string = Filled(alloc_string(200));
        free_mem(&string);
        sameString = Edit(sameString, -1);
        free_mem(&sameString);
    }
}

static void WriteOutside(void) {
    if (Is("end")) {
        block = alloc_memory(12);
        block[12] = 'x';
        free_mem(&block);
    }
    if (Is("start")) {
        block = malloc_memory(300);
        block[-5] = 'x';
        free_mem(&block);
    }
    if (Is("header")) {
        block = alloc_memory(12);
        block[-2] = 'x';
        block = realloc_mem(block, 20);
        free_mem(&block);
    }
    if (Is("after")) {
        same = block = alloc_memory(12);
        free_mem(&block);
        same[3] = 'x';
        MemCheckBounds();
    }
    if (Is("shared")) {
        VrStrText(VR_SHARED_STRING(FalseVrStr))[0] = 'N';
        MemCheckBounds();
    }
    if (Is("scratch")) {
        memset(MemBuf2, 'x', kVrScratchSize + 1);
        MemCheckBounds();
    }
}

static void BreakStrings(void) {
    if (Is("length")) {
        string = alloc_string(20);
        string->length = 24;
        free_mem(&string);
    }
    if (Is("memo")) {
        string = Edit(Filled(alloc_string(200)), 3);
        VrStrText(string)[50] = 'a';
        string = Edit(string, 2);
        free_mem(&string);
    }
    if (Is("long")) {
        string = alloc_string(200);
        string = realloc_mem(string, 154);
        VrStrText(string)[151] = 'x';
        free_mem(&string);
    }
}

static void EndWithBlocksOut(void) {
    if (Is("out")) {
        for (int i = 0; i < 2; ++i)
            block = alloc_memory(10);
        string = StrToVrStr("a string that is never given back");
    }
    if (Is("unended")) {
        block = alloc_memory(10);
        memset(block, 'x', 12);
    }
}

static void MakeNone(void) {
    string = Edit(Filled(alloc_string(200)), 3);
    block = realloc_mem(dup_str("text"), 100);
    memset(block, 'x', 100);
    memset(MemBuf2, 'x', kVrScratchSize);
    free_mem(&block);
    free_mem(&string);
    PgmMemReport(0);
}

int main(int argc, char** argv) {
    if (argc == 2) fault = argv[1];
    UtilInit(NULL);
    if (Is("none")) MakeNone();
    GiveBack();
    WriteOutside();
    BreakStrings();
    EndWithBlocksOut();
    if (!Is("unended")) VrExit(0);
    return 0;
}
