#pragma once

#include "foundation/Bytes.h"
#include "phone/Canvas.h"

namespace tunevale::phone {

/// The picture in a file format. Throws std::bad_alloc, or std::runtime_error when the library refuses. Any
/// thread.
Bytes encodedJpeg(const Canvas& canvas);
Bytes encodedPng(const Canvas& canvas);

}  // namespace tunevale::phone
