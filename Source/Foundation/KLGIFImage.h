#pragma once

#include "Foundation/KLImageDecoder.h"

namespace kaleo {

/// A GIF picture (CompuServe GIF89a), animated or not. Keeps a copy of the encoded data and composes frames when they are asked
/// for, holding a few canvases whatever the number of frames: those around the last frame asked for, and the first.
/// Refused when no frame is usable or the headers go beyond the limits. Threads: any.
///
/// A frame without a delay, or with one below 0.011 seconds, stands for 0.1 seconds.
KLImageDecoder::Outcome KLDecodeGIF(const KLBytes& data, const KLImageDecoder::Limits& limits);

}  // namespace kaleo
