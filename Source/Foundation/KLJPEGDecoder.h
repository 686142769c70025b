#pragma once

#include "Foundation/KLImageDecoder.h"

namespace kaleo {

/// A JPEG picture (ISO/IEC 10918-1, JFIF, Adobe CMYK and YCCK), turned upright as its Exif orientation asks. Refused when the data
/// is damaged beyond use or goes beyond the limits; of a file that breaks off what came is shown. Threads: any.
KLImageDecoder::Outcome KLDecodeJPEG(const KLBytes& data, const KLImageDecoder::Limits& limits);

}  // namespace kaleo
