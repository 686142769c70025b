#pragma once

#include "Foundation/KLImageDecoder.h"

namespace kaleo {

/// A PNG picture (ISO/IEC 15948) of any colour type and depth. Refused when the data is damaged or goes beyond the limits; a
/// damaged ancillary chunk alone does no harm, and of a file that breaks off what came is shown. Threads: any.
KLImageDecoder::Outcome KLDecodePNG(const KLBytes& data, const KLImageDecoder::Limits& limits);

}  // namespace kaleo
