// The code words of parametric stereo (ISO/IEC 14496-3, annex 8.B): {symbol, code word, length}. The symbol
// is the difference; for IID and ICC it is offset so that the smallest difference is 0.
#pragma once

#include "dsp/ipps_vlc.h"

namespace UMC::aac {

inline constexpr IppsVLCTable_32s kIidFrequencyDefaultCode[] = {
    {0, 0x1fffb, 17}, {1, 0x1fffc, 17},  {2, 0x1fffd, 17},  {3, 0x1fffa, 17},  {4, 0xfffc, 16},
    {5, 0x7ffc, 15},  {6, 0x1ffd, 13},   {7, 0x3fe, 10},    {8, 0x1fe, 9},     {9, 0x7e, 7},
    {10, 0x3c, 6},    {11, 0x1d, 5},     {12, 0xd, 4},      {13, 0x5, 3},      {14, 0x0, 1},
    {15, 0x4, 3},     {16, 0xc, 4},      {17, 0x1c, 5},     {18, 0x3d, 6},     {19, 0x3e, 6},
    {20, 0xfe, 8},    {21, 0x7fe, 11},   {22, 0x1ffc, 13},  {23, 0x3ffc, 14},  {24, 0x3ffd, 14},
    {25, 0x7ffd, 15}, {26, 0x1fffe, 17}, {27, 0x3fffe, 18}, {28, 0x3ffff, 18},
};

inline constexpr IppsVLCTable_32s kIidTimeDefaultCode[] = {
    {0, 0x7fff9, 19},  {1, 0x7fffa, 19},  {2, 0x7fffb, 19},  {3, 0xffff8, 20},  {4, 0xffff9, 20},
    {5, 0xffffa, 20},  {6, 0x1fffd, 17},  {7, 0x7ffe, 15},   {8, 0xffe, 12},    {9, 0x3fe, 10},
    {10, 0xfe, 8},     {11, 0x3e, 6},     {12, 0xe, 4},      {13, 0x2, 2},      {14, 0x0, 1},
    {15, 0x6, 3},      {16, 0x1e, 5},     {17, 0x7e, 7},     {18, 0x1fe, 9},    {19, 0x7fe, 11},
    {20, 0x1ffe, 13},  {21, 0x3ffe, 14},  {22, 0x1fffc, 17}, {23, 0x7fff8, 19}, {24, 0xffffb, 20},
    {25, 0xffffc, 20}, {26, 0xffffd, 20}, {27, 0xffffe, 20}, {28, 0xfffff, 20},
};

inline constexpr IppsVLCTable_32s kIidFrequencyFineCode[] = {
    {0, 0x1feb4, 18},  {1, 0x1feb5, 18},  {2, 0x1fd76, 18},  {3, 0x1fd77, 18},  {4, 0x1fd74, 18},
    {5, 0x1fd75, 18},  {6, 0x1fe8a, 18},  {7, 0x1fe8b, 18},  {8, 0x1fe88, 18},  {9, 0xfe80, 17},
    {10, 0x1feb6, 18}, {11, 0xfe82, 17},  {12, 0xfeb8, 17},  {13, 0x7f42, 16},  {14, 0x7fae, 16},
    {15, 0x3faf, 15},  {16, 0x1fd1, 14},  {17, 0x1fe9, 14},  {18, 0xfe9, 13},   {19, 0x7ea, 12},
    {20, 0x7fb, 12},   {21, 0x3fb, 11},   {22, 0x1fb, 10},   {23, 0x1ff, 10},   {24, 0x7c, 8},
    {25, 0x3c, 7},     {26, 0x1c, 6},     {27, 0xc, 5},      {28, 0x0, 4},      {29, 0x1, 3},
    {30, 0x1, 1},      {31, 0x2, 3},      {32, 0x1, 4},      {33, 0xd, 5},      {34, 0x1d, 6},
    {35, 0x3d, 7},     {36, 0x7d, 8},     {37, 0xfc, 9},     {38, 0x1fc, 10},   {39, 0x3fc, 11},
    {40, 0x3f4, 11},   {41, 0x7eb, 12},   {42, 0xfea, 13},   {43, 0x1fea, 14},  {44, 0x1fd6, 14},
    {45, 0x3fd0, 15},  {46, 0x7faf, 16},  {47, 0x7f43, 16},  {48, 0xfeb9, 17},  {49, 0xfe83, 17},
    {50, 0x1feb7, 18}, {51, 0xfe81, 17},  {52, 0x1fe89, 18}, {53, 0x1fe8e, 18}, {54, 0x1fe8f, 18},
    {55, 0x1fe8c, 18}, {56, 0x1fe8d, 18}, {57, 0x1feb2, 18}, {58, 0x1feb3, 18}, {59, 0x1feb0, 18},
    {60, 0x1feb1, 18},
};

inline constexpr IppsVLCTable_32s kIidTimeFineCode[] = {
    {0, 0x4ed4, 16},  {1, 0x4ed5, 16},  {2, 0x4ece, 16},  {3, 0x4ecf, 16},  {4, 0x4ecc, 16},
    {5, 0x4ed6, 16},  {6, 0x4ed8, 16},  {7, 0x4f46, 16},  {8, 0x4f60, 16},  {9, 0x2718, 15},
    {10, 0x2719, 15}, {11, 0x2764, 15}, {12, 0x2765, 15}, {13, 0x276d, 15}, {14, 0x27b1, 15},
    {15, 0x13b7, 14}, {16, 0x13d6, 14}, {17, 0x9c7, 13},  {18, 0x9e9, 13},  {19, 0x9ed, 13},
    {20, 0x4ee, 12},  {21, 0x4f7, 12},  {22, 0x278, 11},  {23, 0x139, 10},  {24, 0x9a, 9},
    {25, 0x9f, 9},    {26, 0x20, 7},    {27, 0x11, 6},    {28, 0xa, 5},     {29, 0x3, 3},
    {30, 0x1, 1},     {31, 0x0, 2},     {32, 0xb, 5},     {33, 0x12, 6},    {34, 0x21, 7},
    {35, 0x4c, 8},    {36, 0x9b, 9},    {37, 0x13a, 10},  {38, 0x279, 11},  {39, 0x270, 11},
    {40, 0x4ef, 12},  {41, 0x4e2, 12},  {42, 0x9ea, 13},  {43, 0x9d8, 13},  {44, 0x13d7, 14},
    {45, 0x13d0, 14}, {46, 0x27b2, 15}, {47, 0x27a2, 15}, {48, 0x271a, 15}, {49, 0x271b, 15},
    {50, 0x4f66, 16}, {51, 0x4f67, 16}, {52, 0x4f61, 16}, {53, 0x4f47, 16}, {54, 0x4ed9, 16},
    {55, 0x4ed7, 16}, {56, 0x4ecd, 16}, {57, 0x4ed2, 16}, {58, 0x4ed3, 16}, {59, 0x4ed0, 16},
    {60, 0x4ed1, 16},
};

inline constexpr IppsVLCTable_32s kIccFrequencyCode[] = {
    {0, 0x3fff, 14}, {1, 0x3ffe, 14}, {2, 0xffe, 12}, {3, 0x3fe, 10},  {4, 0x7e, 7},
    {5, 0x1e, 5},    {6, 0x6, 3},     {7, 0x0, 1},    {8, 0x2, 2},     {9, 0xe, 4},
    {10, 0x3e, 6},   {11, 0xfe, 8},   {12, 0x1fe, 9}, {13, 0x7fe, 11}, {14, 0x1ffe, 13},
};

inline constexpr IppsVLCTable_32s kIccTimeCode[] = {
    {0, 0x3ffe, 14}, {1, 0x1ffe, 13}, {2, 0x7fe, 11},  {3, 0x1fe, 9},   {4, 0x7e, 7},
    {5, 0x1e, 5},    {6, 0x6, 3},     {7, 0x0, 1},     {8, 0x2, 2},     {9, 0xe, 4},
    {10, 0x3e, 6},   {11, 0xfe, 8},   {12, 0x3fe, 10}, {13, 0xffe, 12}, {14, 0x3fff, 14},
};

inline constexpr IppsVLCTable_32s kIpdFrequencyCode[] = {
    {0, 0x1, 1}, {1, 0x0, 3}, {2, 0x6, 4}, {3, 0x4, 4}, {4, 0x2, 4}, {5, 0x3, 4}, {6, 0x5, 4}, {7, 0x7, 4},
};

inline constexpr IppsVLCTable_32s kIpdTimeCode[] = {
    {0, 0x1, 1}, {1, 0x2, 3}, {2, 0x2, 4}, {3, 0x3, 5}, {4, 0x2, 5}, {5, 0x0, 4}, {6, 0x3, 4}, {7, 0x3, 3},
};

inline constexpr IppsVLCTable_32s kOpdFrequencyCode[] = {
    {0, 0x1, 1}, {1, 0x1, 3}, {2, 0x6, 4}, {3, 0x4, 4}, {4, 0xf, 5}, {5, 0xe, 5}, {6, 0x5, 4}, {7, 0x0, 3},
};

inline constexpr IppsVLCTable_32s kOpdTimeCode[] = {
    {0, 0x1, 1}, {1, 0x2, 3}, {2, 0x1, 4}, {3, 0x7, 5}, {4, 0x6, 5}, {5, 0x0, 4}, {6, 0x2, 4}, {7, 0x3, 3},
};

}  // namespace UMC::aac
