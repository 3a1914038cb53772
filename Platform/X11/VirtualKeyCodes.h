// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

#include <string_view>

namespace velmorin {

/// The virtual key code at an XKB position (see the key names in xkeyboard-config's
/// keycodes/evdev), by the ANSI keyboard that both describe.
struct VirtualKeyPosition {
    std::string_view name;
    quint16 virtualKey;
};

inline constexpr VirtualKeyPosition virtualKeyPositions[] = {
    {"AC01", 0},   {"AC02", 1},   {"AC03", 2},   {"AC04", 3},   {"AC06", 4},   {"AC05", 5},
    {"AB01", 6},   {"AB02", 7},   {"AB03", 8},   {"AB04", 9},   {"LSGT", 10},  {"AB05", 11},
    {"AD01", 12},  {"AD02", 13},  {"AD03", 14},  {"AD04", 15},  {"AD06", 16},  {"AD05", 17},
    {"AE01", 18},  {"AE02", 19},  {"AE03", 20},  {"AE04", 21},  {"AE06", 22},  {"AE05", 23},
    {"AE12", 24},  {"AE09", 25},  {"AE07", 26},  {"AE11", 27},  {"AE08", 28},  {"AE10", 29},
    {"AD12", 30},  {"AD09", 31},  {"AD07", 32},  {"AD11", 33},  {"AD08", 34},  {"AD10", 35},
    {"RTRN", 36},  {"AC09", 37},  {"AC07", 38},  {"AC11", 39},  {"AC08", 40},  {"AC10", 41},
    {"BKSL", 42},  {"AC12", 42},  {"AB08", 43},  {"AB10", 44},  {"AB06", 45},  {"AB07", 46},
    {"AB09", 47},  {"TAB", 48},   {"SPCE", 49},  {"TLDE", 50},  {"BKSP", 51},  {"ESC", 53},
    {"RWIN", 54},  {"LWIN", 55},  {"LFSH", 56},  {"CAPS", 57},  {"LALT", 58},  {"LCTL", 59},
    {"RTSH", 60},  {"RALT", 61},  {"RCTL", 62},  {"FK17", 64},  {"KPDL", 65},  {"KPMU", 67},
    {"KPAD", 69},  {"NMLK", 71},  {"KPDV", 75},  {"KPEN", 76},  {"KPSU", 78},  {"FK18", 79},
    {"FK19", 80},  {"KPEQ", 81},  {"KP0", 82},   {"KP1", 83},   {"KP2", 84},   {"KP3", 85},
    {"KP4", 86},   {"KP5", 87},   {"KP6", 88},   {"KP7", 89},   {"FK20", 90},  {"KP8", 91},
    {"KP9", 92},   {"FK05", 96},  {"FK06", 97},  {"FK07", 98},  {"FK03", 99},  {"FK08", 100},
    {"FK09", 101}, {"FK11", 103}, {"FK13", 105}, {"FK16", 106}, {"FK14", 107}, {"FK10", 109},
    {"FK12", 111}, {"FK15", 113}, {"INS", 114},  {"HOME", 115}, {"PGUP", 116}, {"DELE", 117},
    {"FK04", 118}, {"END", 119},  {"FK02", 120}, {"PGDN", 121}, {"FK01", 122}, {"LEFT", 123},
    {"RGHT", 124}, {"DOWN", 125}, {"UP", 126},
};

/// Given for keys that the ANSI keyboard does not have.
inline constexpr quint16 noVirtualKey = 0xffff;

} // namespace velmorin
