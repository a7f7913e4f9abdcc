/* A host with one mistake, chosen by its argument; without one it makes none. Each mistake
 * begins at a line number of its own, so that check.sh can name the lines. */
#define VR_MODULE "host"

#include <stdio.h>
#include <string.h>

#include "vr/vr.h"

/* A string with three attributes, long enough to have a memo. */
static VrString NewRecord(void) {
    VrString s = alloc_string(200);
    memset(VrStrText(s), 'a', 200);
    VrStrText(s)[50] = VrStrText(s)[100] = kVrAttributeMark;
    return s;
}

static VrString Edit(VrString s, int32_t attribute) {
    UtilPosition position = {attribute, 0, 0, 0};
    return UtilInsertReplace(&position, s, VR_SHARED_STRING(TrueVrStr), 1);
}

static void Nothing(void) {
    VrString record = Edit(NewRecord(), 3);
    char* text = dup_str("text");
    text = realloc_mem(text, 100);
    memset(text, 'x', 100);
    memset(MemBuf2, 'x', kVrScratchSize);
    free_mem(&text);
    free_mem(&record);
    PgmMemReport(0);
}

#line 100
static void GivenBackTwice(void) {
    char* block = alloc_memory(12);
    char* same = block;
    free_mem(&block);
    free_mem(&same);
}

#line 110
static void InsideABlock(void) {
    char* block = alloc_memory(12);
    char* inside = block + 4;
    free_mem(&inside);
    free_mem(&block);
}

#line 120
static void NoBlock(void) {
    static char none[8];
    char* block = none;
    free_mem(&block);
}

#line 130
static void PastTheEnd(void) {
    char* block = alloc_memory(12);
    block[12] = 'x';
    free_mem(&block);
}

#line 140
static void BeforeTheStart(void) {
    char* block = malloc_memory(300);
    block[-5] = 'x';
    free_mem(&block);
}

#line 150
static void OverTheHeader(void) {
    char* block = alloc_memory(12);
    block[-2] = 'x';
    block = realloc_mem(block, 20);
    free_mem(&block);
}

#line 160
static void AfterItWasGivenBack(void) {
    char* block = alloc_memory(12);
    char* same = block;
    free_mem(&block);
    same[3] = 'x';
    MemCheckBounds();
}

#line 170
static void ResizedAfterItWasGivenBack(void) {
    char* block = alloc_memory(12);
    char* same = block;
    free_mem(&block);
    same = realloc_mem(same, 20);
    free_mem(&same);
}

#line 180
static void TooLongAString(void) {
    VrString s = alloc_string(20);
    s->length = 24;
    free_mem(&s);
}

#line 190
static void SharedString(void) {
    VrString s = VR_SHARED_STRING(FalseVrStr);
    VrStrText(s)[0] = 'N';
    MemCheckBounds();
}

#line 200
static void WrongMemo(void) {
    VrString s = Edit(NewRecord(), 3);
    VrStrText(s)[50] = 'a';
    s = Edit(s, 2);
    free_mem(&s);
}

#line 210
static void EditedAfterItWasGivenBack(void) {
    VrString s = NewRecord();
    VrString same = s;
    free_mem(&s);
    same = Edit(same, -1);
    free_mem(&same);
}

#line 220
static void ScratchArea(void) {
    memset(MemBuf2, 'x', kVrScratchSize + 1);
    MemCheckBounds();
}

#line 230
static void StillOut(void) {
    static void* blocks[3];
    for (int i = 0; i < 2; ++i)
        blocks[i] = alloc_memory(10);
    blocks[2] = StrToVrStr("a string that is never given back");
    (void)blocks;
}

#line 240
static void Number(void) {
    void* number = (void*)(VrWord)7;
    free_mem(&number);
}

#line 250
static void WithoutVrExit(void) {
    static void* block;
    block = alloc_memory(10);
    memset(block, 'x', 12);
    fflush(stdout);
}

#line 260
static void ResizedPastTheEnd(void) {
    VrString s = alloc_string(200);
    s = realloc_mem(s, 154);
    VrStrText(s)[151] = 'x';
    free_mem(&s);
}

struct Fault {
    const char* name;
    void (*make)(void);
};

static const struct Fault faults[] = {{"none", Nothing},
                                      {"twice", GivenBackTwice},
                                      {"inside", InsideABlock},
                                      {"stranger", NoBlock},
                                      {"end", PastTheEnd},
                                      {"start", BeforeTheStart},
                                      {"header", OverTheHeader},
                                      {"after", AfterItWasGivenBack},
                                      {"resized", ResizedAfterItWasGivenBack},
                                      {"length", TooLongAString},
                                      {"shared", SharedString},
                                      {"memo", WrongMemo},
                                      {"edited", EditedAfterItWasGivenBack},
                                      {"scratch", ScratchArea},
                                      {"out", StillOut},
                                      {"number", Number},
                                      {"unended", WithoutVrExit},
                                      {"long", ResizedPastTheEnd}};

int main(int argc, char** argv) {
    UtilInit(NULL);
    for (size_t i = 0; i < sizeof faults / sizeof *faults; ++i) {
        if (argc == 2 && strcmp(argv[1], faults[i].name) == 0) faults[i].make();
    }
    if (argc == 2 && strcmp(argv[1], "unended") == 0) return 0;
    VrExit(0);
    return 0;
}
