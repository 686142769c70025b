#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "kaleo/KLValue.h"

namespace kaleo::bench {

/// Four bytes a pixel; not set to anything before the codec writes them.
using RawPixels = std::unique_ptr<std::uint8_t[]>;

// The codecs alone, called as shortly as they allow: no limits, no checks, no alpha multiplied into colours. Null on failure.

RawPixels decodeByLibjpeg(const KLBytes& data);
RawPixels decodeBySpng(const KLBytes& data);
/// Every frame, from its indices through its palette onto one canvas; answers how many there were.
std::size_t playByGiflib(const KLBytes& data);

}  // namespace kaleo::bench
