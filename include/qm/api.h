// QM_API marks what a shared library shows; everything else is hidden.
#pragma once

#if defined(__GNUC__) && !defined(_WIN32)
#define QM_API __attribute__((visibility("default")))
#else
#define QM_API
#endif
