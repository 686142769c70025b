#pragma once

/// Marks what libkaleo and libkaleo-qt export; everything else is built with hidden visibility.
#if defined(__GNUC__)
#define KALEO_API __attribute__((visibility("default")))
#else
#define KALEO_API
#endif
