// The platform's headers, once and in their order.
#pragma once

#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>
// They build on the first.
#include <dispex.h>
#include <ocidl.h>
#include <ole2.h>
#include <oleauto.h>
