#pragma once

// The runtime's built-in vector types, with its layout and alignment: a pair is aligned to its own size.
// Usable from C.

/// Extents of a grid or a block. An extent that is not given is 1.
struct dim3 {
    unsigned int x, y, z;
#ifdef __cplusplus
    constexpr dim3(unsigned int x = 1, unsigned int y = 1, unsigned int z = 1) : x(x), y(y), z(z) {}
#endif
};

struct uint3 {
    unsigned int x, y, z;
};

struct __attribute__((aligned(2))) char2 {
    signed char x, y;
};

struct __attribute__((aligned(2))) uchar2 {
    unsigned char x, y;
};

struct __attribute__((aligned(4))) short2 {
    short x, y;
};

struct __attribute__((aligned(4))) ushort2 {
    unsigned short x, y;
};

struct __attribute__((aligned(8))) int2 {
    int x, y;
};

struct __attribute__((aligned(8))) uint2 {
    unsigned int x, y;
};

struct __attribute__((aligned(16))) long2 {
    long x, y;
};

struct __attribute__((aligned(16))) ulong2 {
    unsigned long x, y;
};

struct __attribute__((aligned(16))) longlong2 {
    long long x, y;
};

struct __attribute__((aligned(16))) ulonglong2 {
    unsigned long long x, y;
};

struct __attribute__((aligned(8))) float2 {
    float x, y;
};

struct __attribute__((aligned(16))) double2 {
    double x, y;
};

typedef struct dim3 dim3;
typedef struct uint3 uint3;
typedef struct char2 char2;
typedef struct uchar2 uchar2;
typedef struct short2 short2;
typedef struct ushort2 ushort2;
typedef struct int2 int2;
typedef struct uint2 uint2;
typedef struct long2 long2;
typedef struct ulong2 ulong2;
typedef struct longlong2 longlong2;
typedef struct ulonglong2 ulonglong2;
typedef struct float2 float2;
typedef struct double2 double2;
