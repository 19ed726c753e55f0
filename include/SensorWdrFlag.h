#pragma once

#include <atomic>

#include "ImgctlExport.h"

/// Whether the wide-dynamic-range mode may be applied; true at process start. Controller start-up
/// sets it true, then false when a video stream runs at 50 or 60 frames per second.
extern IMGCTL_API std::atomic<bool> g_bShowWDRFalg;

/// Set and read g_bShowWDRFalg. Any thread may call.
IMGCTL_API void setshowWDRFalg(bool p_bShow);
IMGCTL_API bool getshowWDRFalg();
