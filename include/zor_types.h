// Small shared records used everywhere: points, complex pairs, 4x4 matrices.
#ifndef ZOR_TYPES_H
#define ZOR_TYPES_H

#include <cstdint>

struct POINT2D { float x, y; };
struct IPOINT2D { int32_t x, y; };
struct POINT3D { float x, y, z; };
struct IPOINT3D { int32_t x, y, z; };
struct FCOMPLEX { float real, imag; };
// Element types that exist only as vector elements.
struct DCOMPLEX { double real, imag; };
struct LCOMPLEX { int64_t real, imag; };
struct SCOMPLEX { int16_t real, imag; };

// 4 by 4 float matrix, row by row.
struct mat44 { float m[4][4]; };

// The one program-wide zero character used where text is cut.
extern const char CNULL;

// Every name and text line in the system fits this size.
enum { ZOR_LINE = 1024 };

#endif
