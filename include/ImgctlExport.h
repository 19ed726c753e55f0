#pragma once

/// Marks what libimgctl.so exports; everything else in it is hidden.
#define IMGCTL_API __attribute__((visibility("default")))

/// Marks members of an exported class that the library keeps to itself.
#define IMGCTL_LOCAL __attribute__((visibility("hidden")))
