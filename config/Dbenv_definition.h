// The definition of the one terminal as hosts get it, attribute by attribute. Escapes in octal are
// marks, 376 of attributes, 375 of values and 374 of subvalues, and 033 is ESC. The last byte,
// which is the literal's own zero, is the value of the last background colour.
#ifndef CONFIG_DBENV_DEFINITION_H
#define CONFIG_DBENV_DEFINITION_H

namespace vr {

constexpr char kTerminalType[] = "PCWIN.COL";

constexpr char kTerminalDefinition[] =
    "$TERM\376"
    "PC COLOR MONITOR FOR WINDOWS\376\376\376"
    // 5: columns and rows
    "80\37525\37580\37525\376"
    // 6: the characters of boxes, in code page 437
    "\xC4\375\xB3\375\xDA\375\xBF\375\xC0\375\xD9\375\xC2\375\xC1\375\xC3\375"
    "\xB4\375\xC5\375\xB2\375 \375\xCD\375\xBA\375\xC9\375\xBB\375\xC8\375"
    "\xBC\375\xCB\375\xCA\375\xCC\375\xB9\375\xCE\375\x1E\375\x1F\376"
    // 7 to 10
    "\375\376I\376\3760\376"
    // 11: the keys of list 1: the prefix of extended keys, Ctrl-Y, Ctrl-X, ESC, Ctrl-Z, TAB, Ctrl-W
    "\x00\x19\x18\x1B\x1A\x09\x17\375"
    // and of list 2, the extended keys: Left, Right, Up, Down, Home, End, Insert, Delete,
    // Ctrl-Right, Ctrl-Left, Ctrl-End, Ctrl-Insert, Ctrl-Delete, Page Up, Page Down, Alt-D,
    // Ctrl-Page Down, F3, Shift-TAB, Alt-M, F1, F2, F4 to F10
    "\x4B\x4D\x48\x50\x47\x4F\x52\x53\x74\x73\x75\x92\x93\x49\x51\x20"
    "\x76\x3D\x0F\x32\x3B\x3C\x3E\x3F\x40\x41\x42\x43\x44\376"
    // 12 to 15
    "1\3761\376"
    "2,12,12\3758,6,2,2,16\3752,16,12\3754,5,1\3756,2,12,4,1\3758,2\3758,2\375"
    "5,15\3758,6,2,2,16\376"
    "PCWIN.COL\376"
    // 16: three tables of a byte for each key, in the order of the lists: 1 for the prefix, in
    // digits; the list that the prefix leads to; what the key does
    "1000000\37400000000000000000000000000000\375"
    "\x02\x00\x00\x00\x00\x00\x00\374"
    "\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00"
    "\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\375"
    "\x00\x09\x0D\x0E\x0F\x16\x17\374"
    "\x01\x02\x03\x04\x05\x06\x07\x08\x0A\x0B\x0C\x10\x11\x12\x13\x14"
    "\x15\x18\x19\x1D\x1F\x20\x22\x23\x24\x25\x26\x27\x28\376"
    // 17 to 20
    "0\376\376\3760\376"
    // 21: foreground colours
    "\033CF0.\375\033CF1.\375\033CF2.\375\033CF3.\375\033CF4.\375\033CF5.\375"
    "\033CF6.\375\033CF7.\375\033CF8.\375\033CF9.\375\033CF10.\375"
    "\033CF11.\375\033CF12.\375\033CF13.\375\033CF14.\375\033CF15.\376"
    // 22: background colours, of which the last eight are empty
    "\033CB0.\375\033CB1.\375\033CB2.\375\033CB3.\375\033CB4.\375\033CB5.\375\033CB6.\375\033CB7."
    "\375\375\375\375\375\375\375\375";
static_assert(sizeof kTerminalDefinition == 506);

}  // namespace vr

#endif
