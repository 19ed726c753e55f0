#pragma once

#include <atomic>

#include "ImgctlExport.h"

/// How much the library reports on standard output: below 0 nothing, 0 failed assertions (they also
/// go to the error log), 4 warnings too, 6 errors and debug lines too, 7
/// information too. 1 at start.
extern IMGCTL_API std::atomic<int> g_nDebugLevel;

/// When true, a failed assertion ends the process after its report. False at start.
extern IMGCTL_API std::atomic<bool> g_bEnAssert;

/// Takes both from the sign file "/mnt/mtd/sign/Debug.sign": line 1 the level, line 2 the abort
/// switch (non-zero: on). Without the file: level 1, off; a file that cannot be opened changes
/// nothing. No more than its first 1024 bytes are read: every report does this first, so an edited
/// file takes effect at the next report. Any thread may call.
IMGCTL_API void updateDebugLevel();
