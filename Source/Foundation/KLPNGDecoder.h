#pragma once

#include <memory>

#include "Foundation/KLImageDecoder.h"

namespace kaleo {

/// A PNG picture (ISO/IEC 15948) of any colour type and depth. Null when the data is damaged or goes beyond the limits; a damaged
/// ancillary chunk alone does no harm. Threads: any.
std::shared_ptr<const KLImage> KLDecodePNG(const KLBytes& data, const KLImageDecoder::Limits& limits);

}  // namespace kaleo
