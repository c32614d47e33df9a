// The code words of SBR (ISO/IEC 14496-3, annex 4.A.6.1): {symbol, code word, length}. A symbol is the
// difference plus the code's maximum difference. "15" and "30" denote the resolution, 1.5 or 3 dB per step.
// Noise floors coded over frequency use the envelopes' 3 dB codes.
#pragma once

#include "dsp/ipps_vlc.h"

namespace UMC::aac {

// t_huffman_env_1_5dB: differences of -60 to 60.
inline constexpr IppsVLCTable_32s kSbrTimeLevel15[] = {
    {0, 0x3ffd6, 18},   {1, 0x3ffd7, 18},   {2, 0x3ffd8, 18},   {3, 0x3ffd9, 18},   {4, 0x3ffda, 18},
    {5, 0x3ffdb, 18},   {6, 0x7ffb8, 19},   {7, 0x7ffb9, 19},   {8, 0x7ffba, 19},   {9, 0x7ffbb, 19},
    {10, 0x7ffbc, 19},  {11, 0x7ffbd, 19},  {12, 0x7ffbe, 19},  {13, 0x7ffbf, 19},  {14, 0x7ffc0, 19},
    {15, 0x7ffc1, 19},  {16, 0x7ffc2, 19},  {17, 0x7ffc3, 19},  {18, 0x7ffc4, 19},  {19, 0x7ffc5, 19},
    {20, 0x7ffc6, 19},  {21, 0x7ffc7, 19},  {22, 0x7ffc8, 19},  {23, 0x7ffc9, 19},  {24, 0x7ffca, 19},
    {25, 0x7ffcb, 19},  {26, 0x7ffcc, 19},  {27, 0x7ffcd, 19},  {28, 0x7ffce, 19},  {29, 0x7ffcf, 19},
    {30, 0x7ffd0, 19},  {31, 0x7ffd1, 19},  {32, 0x7ffd2, 19},  {33, 0x7ffd3, 19},  {34, 0x1ffe6, 17},
    {35, 0x3ffd4, 18},  {36, 0xfff0, 16},   {37, 0x1ffe9, 17},  {38, 0x3ffd5, 18},  {39, 0x1ffe7, 17},
    {40, 0xfff1, 16},   {41, 0xffec, 16},   {42, 0xffed, 16},   {43, 0xffee, 16},   {44, 0x7ff4, 15},
    {45, 0x3ff9, 14},   {46, 0x3ff7, 14},   {47, 0x1ffa, 13},   {48, 0x1ff9, 13},   {49, 0xffb, 12},
    {50, 0x7fc, 11},    {51, 0x3fc, 10},    {52, 0x1fd, 9},     {53, 0xfd, 8},      {54, 0x7d, 7},
    {55, 0x3d, 6},      {56, 0x1d, 5},      {57, 0xd, 4},       {58, 0x5, 3},       {59, 0x1, 2},
    {60, 0x0, 2},       {61, 0x4, 3},       {62, 0xc, 4},       {63, 0x1c, 5},      {64, 0x3c, 6},
    {65, 0x7c, 7},      {66, 0xfc, 8},      {67, 0x1fc, 9},     {68, 0x3fd, 10},    {69, 0xffa, 12},
    {70, 0x1ff8, 13},   {71, 0x3ff6, 14},   {72, 0x3ff8, 14},   {73, 0x7ff5, 15},   {74, 0xffef, 16},
    {75, 0x1ffe8, 17},  {76, 0xfff2, 16},   {77, 0x7ffd4, 19},  {78, 0x7ffd5, 19},  {79, 0x7ffd6, 19},
    {80, 0x7ffd7, 19},  {81, 0x7ffd8, 19},  {82, 0x7ffd9, 19},  {83, 0x7ffda, 19},  {84, 0x7ffdb, 19},
    {85, 0x7ffdc, 19},  {86, 0x7ffdd, 19},  {87, 0x7ffde, 19},  {88, 0x7ffdf, 19},  {89, 0x7ffe0, 19},
    {90, 0x7ffe1, 19},  {91, 0x7ffe2, 19},  {92, 0x7ffe3, 19},  {93, 0x7ffe4, 19},  {94, 0x7ffe5, 19},
    {95, 0x7ffe6, 19},  {96, 0x7ffe7, 19},  {97, 0x7ffe8, 19},  {98, 0x7ffe9, 19},  {99, 0x7ffea, 19},
    {100, 0x7ffeb, 19}, {101, 0x7ffec, 19}, {102, 0x7ffed, 19}, {103, 0x7ffee, 19}, {104, 0x7ffef, 19},
    {105, 0x7fff0, 19}, {106, 0x7fff1, 19}, {107, 0x7fff2, 19}, {108, 0x7fff3, 19}, {109, 0x7fff4, 19},
    {110, 0x7fff5, 19}, {111, 0x7fff6, 19}, {112, 0x7fff7, 19}, {113, 0x7fff8, 19}, {114, 0x7fff9, 19},
    {115, 0x7fffa, 19}, {116, 0x7fffb, 19}, {117, 0x7fffc, 19}, {118, 0x7fffd, 19}, {119, 0x7fffe, 19},
    {120, 0x7ffff, 19}};

// f_huffman_env_1_5dB: differences of -60 to 60.
inline constexpr IppsVLCTable_32s kSbrFrequencyLevel15[] = {
    {0, 0x7ffe7, 19},   {1, 0x7ffe8, 19},   {2, 0xfffd2, 20},   {3, 0xfffd3, 20},   {4, 0xfffd4, 20},
    {5, 0xfffd5, 20},   {6, 0xfffd6, 20},   {7, 0xfffd7, 20},   {8, 0xfffd8, 20},   {9, 0x7ffda, 19},
    {10, 0xfffd9, 20},  {11, 0xfffda, 20},  {12, 0xfffdb, 20},  {13, 0xfffdc, 20},  {14, 0x7ffdb, 19},
    {15, 0xfffdd, 20},  {16, 0x7ffdc, 19},  {17, 0x7ffdd, 19},  {18, 0xfffde, 20},  {19, 0x3ffe4, 18},
    {20, 0xfffdf, 20},  {21, 0xfffe0, 20},  {22, 0xfffe1, 20},  {23, 0x7ffde, 19},  {24, 0xfffe2, 20},
    {25, 0xfffe3, 20},  {26, 0xfffe4, 20},  {27, 0x7ffdf, 19},  {28, 0xfffe5, 20},  {29, 0x7ffe0, 19},
    {30, 0x3ffe8, 18},  {31, 0x7ffe1, 19},  {32, 0x3ffe0, 18},  {33, 0x3ffe9, 18},  {34, 0x1ffef, 17},
    {35, 0x3ffe5, 18},  {36, 0x1ffec, 17},  {37, 0x1ffed, 17},  {38, 0x1ffee, 17},  {39, 0xfff4, 16},
    {40, 0xfff3, 16},   {41, 0xfff0, 16},   {42, 0x7ff7, 15},   {43, 0x7ff6, 15},   {44, 0x3ffa, 14},
    {45, 0x1ffa, 13},   {46, 0x1ff9, 13},   {47, 0xffa, 12},    {48, 0xff8, 12},    {49, 0x7f9, 11},
    {50, 0x3fb, 10},    {51, 0x1fc, 9},     {52, 0x1fa, 9},     {53, 0xfb, 8},      {54, 0x7c, 7},
    {55, 0x3c, 6},      {56, 0x1c, 5},      {57, 0xc, 4},       {58, 0x5, 3},       {59, 0x1, 2},
    {60, 0x0, 2},       {61, 0x4, 3},       {62, 0xd, 4},       {63, 0x1d, 5},      {64, 0x3d, 6},
    {65, 0xfa, 8},      {66, 0xfc, 8},      {67, 0x1fb, 9},     {68, 0x3fa, 10},    {69, 0x7f8, 11},
    {70, 0x7fa, 11},    {71, 0x7fb, 11},    {72, 0xff9, 12},    {73, 0xffb, 12},    {74, 0x1ff8, 13},
    {75, 0x1ffb, 13},   {76, 0x3ff8, 14},   {77, 0x3ff9, 14},   {78, 0xfff1, 16},   {79, 0xfff2, 16},
    {80, 0x1ffea, 17},  {81, 0x1ffeb, 17},  {82, 0x3ffe1, 18},  {83, 0x3ffe2, 18},  {84, 0x3ffea, 18},
    {85, 0x3ffe3, 18},  {86, 0x3ffe6, 18},  {87, 0x3ffe7, 18},  {88, 0x3ffeb, 18},  {89, 0xfffe6, 20},
    {90, 0x7ffe2, 19},  {91, 0xfffe7, 20},  {92, 0xfffe8, 20},  {93, 0xfffe9, 20},  {94, 0xfffea, 20},
    {95, 0xfffeb, 20},  {96, 0xfffec, 20},  {97, 0x7ffe3, 19},  {98, 0xfffed, 20},  {99, 0xfffee, 20},
    {100, 0xfffef, 20}, {101, 0xffff0, 20}, {102, 0x7ffe4, 19}, {103, 0xffff1, 20}, {104, 0x3ffec, 18},
    {105, 0xffff2, 20}, {106, 0xffff3, 20}, {107, 0x7ffe5, 19}, {108, 0x7ffe6, 19}, {109, 0xffff4, 20},
    {110, 0xffff5, 20}, {111, 0xffff6, 20}, {112, 0xffff7, 20}, {113, 0xffff8, 20}, {114, 0xffff9, 20},
    {115, 0xffffa, 20}, {116, 0xffffb, 20}, {117, 0xffffc, 20}, {118, 0xffffd, 20}, {119, 0xffffe, 20},
    {120, 0xfffff, 20}};

// t_huffman_env_bal_1_5dB: differences of -24 to 24.
inline constexpr IppsVLCTable_32s kSbrTimeBalance15[] = {
    {0, 0xffe4, 16},   {1, 0xffe5, 16},   {2, 0xffe6, 16},   {3, 0xffe7, 16},   {4, 0xffe8, 16},
    {5, 0xffe9, 16},   {6, 0xffea, 16},   {7, 0xffeb, 16},   {8, 0xffec, 16},   {9, 0xffed, 16},
    {10, 0xffee, 16},  {11, 0xffef, 16},  {12, 0xfff0, 16},  {13, 0xfff1, 16},  {14, 0xfff2, 16},
    {15, 0xfff3, 16},  {16, 0xfff4, 16},  {17, 0xffe2, 16},  {18, 0xffc, 12},   {19, 0x7fc, 11},
    {20, 0x1fe, 9},    {21, 0x7e, 7},     {22, 0x1e, 5},     {23, 0x6, 3},      {24, 0x0, 1},
    {25, 0x2, 2},      {26, 0xe, 4},      {27, 0x3e, 6},     {28, 0xfe, 8},     {29, 0x7fd, 11},
    {30, 0xffd, 12},   {31, 0x7ff0, 15},  {32, 0xffe3, 16},  {33, 0xfff5, 16},  {34, 0xfff6, 16},
    {35, 0xfff7, 16},  {36, 0xfff8, 16},  {37, 0xfff9, 16},  {38, 0xfffa, 16},  {39, 0x1fff6, 17},
    {40, 0x1fff7, 17}, {41, 0x1fff8, 17}, {42, 0x1fff9, 17}, {43, 0x1fffa, 17}, {44, 0x1fffb, 17},
    {45, 0x1fffc, 17}, {46, 0x1fffd, 17}, {47, 0x1fffe, 17}, {48, 0x1ffff, 17}};

// f_huffman_env_bal_1_5dB: differences of -24 to 24.
inline constexpr IppsVLCTable_32s kSbrFrequencyBalance15[] = {
    {0, 0x3ffe2, 18},  {1, 0x3ffe3, 18},  {2, 0x3ffe4, 18},  {3, 0x3ffe5, 18},  {4, 0x3ffe6, 18},
    {5, 0x3ffe7, 18},  {6, 0x3ffe8, 18},  {7, 0x3ffe9, 18},  {8, 0x3ffea, 18},  {9, 0x3ffeb, 18},
    {10, 0x3ffec, 18}, {11, 0x3ffed, 18}, {12, 0x3ffee, 18}, {13, 0x3ffef, 18}, {14, 0x3fff0, 18},
    {15, 0xfff7, 16},  {16, 0x1fff0, 17}, {17, 0x3ffc, 14},  {18, 0x7fe, 11},   {19, 0x7fc, 11},
    {20, 0xfe, 8},     {21, 0x7e, 7},     {22, 0xe, 4},      {23, 0x2, 2},      {24, 0x0, 1},
    {25, 0x6, 3},      {26, 0x1e, 5},     {27, 0x3e, 6},     {28, 0x1fe, 9},    {29, 0x7fd, 11},
    {30, 0xffe, 12},   {31, 0x7ffa, 15},  {32, 0xfff6, 16},  {33, 0x3fff1, 18}, {34, 0x3fff2, 18},
    {35, 0x3fff3, 18}, {36, 0x3fff4, 18}, {37, 0x3fff5, 18}, {38, 0x3fff6, 18}, {39, 0x3fff7, 18},
    {40, 0x3fff8, 18}, {41, 0x3fff9, 18}, {42, 0x3fffa, 18}, {43, 0x3fffb, 18}, {44, 0x3fffc, 18},
    {45, 0x3fffd, 18}, {46, 0x3fffe, 18}, {47, 0x7fffe, 19}, {48, 0x7ffff, 19}};

// t_huffman_env_3_0dB: differences of -31 to 31.
inline constexpr IppsVLCTable_32s kSbrTimeLevel30[] = {
    {0, 0x3ffed, 18},  {1, 0x3ffee, 18},  {2, 0x7ffde, 19},  {3, 0x7ffdf, 19},  {4, 0x7ffe0, 19},
    {5, 0x7ffe1, 19},  {6, 0x7ffe2, 19},  {7, 0x7ffe3, 19},  {8, 0x7ffe4, 19},  {9, 0x7ffe5, 19},
    {10, 0x7ffe6, 19}, {11, 0x7ffe7, 19}, {12, 0x7ffe8, 19}, {13, 0x7ffe9, 19}, {14, 0x7ffea, 19},
    {15, 0x7ffeb, 19}, {16, 0x7ffec, 19}, {17, 0x1fff4, 17}, {18, 0xfff7, 16},  {19, 0xfff9, 16},
    {20, 0xfff8, 16},  {21, 0x3ffb, 14},  {22, 0x3ffa, 14},  {23, 0x3ff8, 14},  {24, 0x1ffa, 13},
    {25, 0xffc, 12},   {26, 0x7fc, 11},   {27, 0xfe, 8},     {28, 0x3e, 6},     {29, 0xe, 4},
    {30, 0x2, 2},      {31, 0x0, 1},      {32, 0x6, 3},      {33, 0x1e, 5},     {34, 0x7e, 7},
    {35, 0x1fe, 9},    {36, 0x7fd, 11},   {37, 0x1ffb, 13},  {38, 0x3ff9, 14},  {39, 0x3ffc, 14},
    {40, 0x7ffa, 15},  {41, 0xfff6, 16},  {42, 0x1fff5, 17}, {43, 0x3ffec, 18}, {44, 0x7ffed, 19},
    {45, 0x7ffee, 19}, {46, 0x7ffef, 19}, {47, 0x7fff0, 19}, {48, 0x7fff1, 19}, {49, 0x7fff2, 19},
    {50, 0x7fff3, 19}, {51, 0x7fff4, 19}, {52, 0x7fff5, 19}, {53, 0x7fff6, 19}, {54, 0x7fff7, 19},
    {55, 0x7fff8, 19}, {56, 0x7fff9, 19}, {57, 0x7fffa, 19}, {58, 0x7fffb, 19}, {59, 0x7fffc, 19},
    {60, 0x7fffd, 19}, {61, 0x7fffe, 19}, {62, 0x7ffff, 19}};

// f_huffman_env_3_0dB: differences of -31 to 31.
inline constexpr IppsVLCTable_32s kSbrFrequencyLevel30[] = {
    {0, 0xffff0, 20},  {1, 0xffff1, 20},  {2, 0xffff2, 20},  {3, 0xffff3, 20},  {4, 0xffff4, 20},
    {5, 0xffff5, 20},  {6, 0xffff6, 20},  {7, 0x3fff3, 18},  {8, 0x7fff5, 19},  {9, 0x7ffee, 19},
    {10, 0x7ffef, 19}, {11, 0x7fff6, 19}, {12, 0x3fff4, 18}, {13, 0x3fff2, 18}, {14, 0xffff7, 20},
    {15, 0x7fff0, 19}, {16, 0x1fff5, 17}, {17, 0x3fff0, 18}, {18, 0x1fff4, 17}, {19, 0xfff7, 16},
    {20, 0xfff6, 16},  {21, 0x7ff8, 15},  {22, 0x3ffb, 14},  {23, 0xffd, 12},   {24, 0x7fd, 11},
    {25, 0x3fd, 10},   {26, 0x1fd, 9},    {27, 0xfd, 8},     {28, 0x3e, 6},     {29, 0xe, 4},
    {30, 0x2, 2},      {31, 0x0, 1},      {32, 0x6, 3},      {33, 0x1e, 5},     {34, 0xfc, 8},
    {35, 0x1fc, 9},    {36, 0x3fc, 10},   {37, 0x7fc, 11},   {38, 0xffc, 12},   {39, 0x1ffc, 13},
    {40, 0x3ffa, 14},  {41, 0x7ff9, 15},  {42, 0x7ffa, 15},  {43, 0xfff8, 16},  {44, 0xfff9, 16},
    {45, 0x1fff6, 17}, {46, 0x1fff7, 17}, {47, 0x3fff5, 18}, {48, 0x3fff6, 18}, {49, 0x3fff1, 18},
    {50, 0xffff8, 20}, {51, 0x7fff1, 19}, {52, 0x7fff2, 19}, {53, 0x7fff3, 19}, {54, 0xffff9, 20},
    {55, 0x7fff7, 19}, {56, 0x7fff4, 19}, {57, 0xffffa, 20}, {58, 0xffffb, 20}, {59, 0xffffc, 20},
    {60, 0xffffd, 20}, {61, 0xffffe, 20}, {62, 0xfffff, 20}};

// t_huffman_env_bal_3_0dB: differences of -12 to 12.
inline constexpr IppsVLCTable_32s kSbrTimeBalance30[] = {
    {0, 0x1ff2, 13},  {1, 0x1ff3, 13},  {2, 0x1ff4, 13},  {3, 0x1ff5, 13},  {4, 0x1ff6, 13},
    {5, 0x1ff7, 13},  {6, 0x1ff8, 13},  {7, 0xff8, 12},   {8, 0xfe, 8},     {9, 0x7e, 7},
    {10, 0xe, 4},     {11, 0x6, 3},     {12, 0x0, 1},     {13, 0x2, 2},     {14, 0x1e, 5},
    {15, 0x3e, 6},    {16, 0x1fe, 9},   {17, 0x1ff9, 13}, {18, 0x1ffa, 13}, {19, 0x1ffb, 13},
    {20, 0x1ffc, 13}, {21, 0x1ffd, 13}, {22, 0x1ffe, 13}, {23, 0x3ffe, 14}, {24, 0x3fff, 14}};

// f_huffman_env_bal_3_0dB: differences of -12 to 12.
inline constexpr IppsVLCTable_32s kSbrFrequencyBalance30[] = {
    {0, 0x1ff7, 13},  {1, 0x1ff8, 13},  {2, 0x1ff9, 13},  {3, 0x1ffa, 13},  {4, 0x1ffb, 13},
    {5, 0x3ff8, 14},  {6, 0x3ff9, 14},  {7, 0x7fc, 11},   {8, 0xfe, 8},     {9, 0x7e, 7},
    {10, 0xe, 4},     {11, 0x2, 2},     {12, 0x0, 1},     {13, 0x6, 3},     {14, 0x1e, 5},
    {15, 0x3e, 6},    {16, 0x1fe, 9},   {17, 0xffa, 12},  {18, 0x1ff6, 13}, {19, 0x3ffa, 14},
    {20, 0x3ffb, 14}, {21, 0x3ffc, 14}, {22, 0x3ffd, 14}, {23, 0x3ffe, 14}, {24, 0x3fff, 14}};

// t_huffman_noise_3_0dB: differences of -31 to 31.
inline constexpr IppsVLCTable_32s kSbrTimeNoise[] = {
    {0, 0x1fce, 13},  {1, 0x1fcf, 13},  {2, 0x1fd0, 13},  {3, 0x1fd1, 13},  {4, 0x1fd2, 13},
    {5, 0x1fd3, 13},  {6, 0x1fd4, 13},  {7, 0x1fd5, 13},  {8, 0x1fd6, 13},  {9, 0x1fd7, 13},
    {10, 0x1fd8, 13}, {11, 0x1fd9, 13}, {12, 0x1fda, 13}, {13, 0x1fdb, 13}, {14, 0x1fdc, 13},
    {15, 0x1fdd, 13}, {16, 0x1fde, 13}, {17, 0x1fdf, 13}, {18, 0x1fe0, 13}, {19, 0x1fe1, 13},
    {20, 0x1fe2, 13}, {21, 0x1fe3, 13}, {22, 0x1fe4, 13}, {23, 0x1fe5, 13}, {24, 0x1fe6, 13},
    {25, 0x1fe7, 13}, {26, 0x7f2, 11},  {27, 0xfd, 8},    {28, 0x3e, 6},    {29, 0xe, 4},
    {30, 0x6, 3},     {31, 0x0, 1},     {32, 0x2, 2},     {33, 0x1e, 5},    {34, 0xfc, 8},
    {35, 0x3f8, 10},  {36, 0x1fcc, 13}, {37, 0x1fe8, 13}, {38, 0x1fe9, 13}, {39, 0x1fea, 13},
    {40, 0x1feb, 13}, {41, 0x1fec, 13}, {42, 0x1fcd, 13}, {43, 0x1fed, 13}, {44, 0x1fee, 13},
    {45, 0x1fef, 13}, {46, 0x1ff0, 13}, {47, 0x1ff1, 13}, {48, 0x1ff2, 13}, {49, 0x1ff3, 13},
    {50, 0x1ff4, 13}, {51, 0x1ff5, 13}, {52, 0x1ff6, 13}, {53, 0x1ff7, 13}, {54, 0x1ff8, 13},
    {55, 0x1ff9, 13}, {56, 0x1ffa, 13}, {57, 0x1ffb, 13}, {58, 0x1ffc, 13}, {59, 0x1ffd, 13},
    {60, 0x1ffe, 13}, {61, 0x3ffe, 14}, {62, 0x3fff, 14}};

// t_huffman_noise_bal_3_0dB: differences of -12 to 12.
inline constexpr IppsVLCTable_32s kSbrTimeNoiseBalance[] = {
    {0, 0xec, 8},  {1, 0xed, 8},  {2, 0xee, 8},  {3, 0xef, 8},  {4, 0xf0, 8},  {5, 0xf1, 8},  {6, 0xf2, 8},
    {7, 0xf3, 8},  {8, 0xf4, 8},  {9, 0xf5, 8},  {10, 0x1c, 5}, {11, 0x2, 2},  {12, 0x0, 1},  {13, 0x6, 3},
    {14, 0x3a, 6}, {15, 0xf6, 8}, {16, 0xf7, 8}, {17, 0xf8, 8}, {18, 0xf9, 8}, {19, 0xfa, 8}, {20, 0xfb, 8},
    {21, 0xfc, 8}, {22, 0xfd, 8}, {23, 0xfe, 8}, {24, 0xff, 8}};

}  // namespace UMC::aac
