// Which namespace the platform's functions live in.
#pragma once

// Tests compile the platform's sources a second time, as qvr::posix, beneath a
// double that is qvr::platform: it passes each call on or fails it as planned.
// Types that the functions share stand in qvr itself, the same for both.
#ifndef QVR_PLATFORM
#define QVR_PLATFORM platform
#endif
