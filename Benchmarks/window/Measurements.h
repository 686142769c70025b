#pragma once

namespace kaleo::bench {

/// What a popup's window costs, over a window of 1080 x 1920 pixels on the platform that QT_QPA_PLATFORM names (without a screen
/// where none is named). Each needs a WatchedApplication, prints its figures, and answers the exit status.
int costOfFrames();
int costOfTheFirstFrame();
int costToABusyHost();
int costOfManyPopups();

}  // namespace kaleo::bench
