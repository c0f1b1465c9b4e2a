#pragma once

#include <optional>

#include "foundation/Bytes.h"
#include "host/Downscaler.h"

namespace tunevale::host {

/// The orientation, 1 to 8, that the contents of a JPEG's APP1 marker tell (Exif 2.32, 4.6.4; TIFF 6.0,
/// section 2). Nothing when they are not Exif, damaged or tell none.
std::optional<int> exifOrientation(ByteView app1);

/// The picture turned and mirrored so that it stands upright; as it is for anything but 2 to 8.
Pixels oriented(Pixels pixels, int orientation);

}  // namespace tunevale::host
