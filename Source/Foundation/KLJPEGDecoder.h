#pragma once

#include <memory>

#include "Foundation/KLImageDecoder.h"

namespace kaleo {

/// A JPEG picture (ISO/IEC 10918-1, JFIF, Adobe CMYK and YCCK), turned upright as its Exif orientation asks. Null when the data
/// ends early, is damaged beyond use or goes beyond the limits. Threads: any.
std::shared_ptr<const KLImage> KLDecodeJPEG(const KLBytes& data, const KLImageDecoder::Limits& limits);

}  // namespace kaleo
