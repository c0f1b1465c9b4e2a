#pragma once

#include <png.h>

namespace tunevale::host {

/// What libpng calls for an error: jumps to where the caller has called setjmp, and says nothing.
[[noreturn]] inline void leaveForPngError(png_structp png, png_const_charp) {
  png_longjmp(png, 1);
}

/// What libpng calls for a warning.
inline void ignorePngWarning(png_structp, png_const_charp) {}

}  // namespace tunevale::host
