#pragma once

// Makers of the built-in vector types: `make_double2(x, y)` and its like.

#include "vector_types.h"

inline constexpr uint3 make_uint3(unsigned int x, unsigned int y, unsigned int z) { return {x, y, z}; }
inline constexpr char2 make_char2(signed char x, signed char y) { return {x, y}; }
inline constexpr uchar2 make_uchar2(unsigned char x, unsigned char y) { return {x, y}; }
inline constexpr short2 make_short2(short x, short y) { return {x, y}; }
inline constexpr ushort2 make_ushort2(unsigned short x, unsigned short y) { return {x, y}; }
inline constexpr int2 make_int2(int x, int y) { return {x, y}; }
inline constexpr uint2 make_uint2(unsigned int x, unsigned int y) { return {x, y}; }
inline constexpr long2 make_long2(long x, long y) { return {x, y}; }
inline constexpr ulong2 make_ulong2(unsigned long x, unsigned long y) { return {x, y}; }
inline constexpr longlong2 make_longlong2(long long x, long long y) { return {x, y}; }
inline constexpr ulonglong2 make_ulonglong2(unsigned long long x, unsigned long long y) { return {x, y}; }
inline constexpr float2 make_float2(float x, float y) { return {x, y}; }
inline constexpr double2 make_double2(double x, double y) { return {x, y}; }
