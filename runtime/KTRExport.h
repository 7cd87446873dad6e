// The mark of everything that the shared library offers; all else stays inside it.
#pragma once

#ifdef KTR_BUILDING_LIBRARY
#define KTR_API __attribute__((visibility("default")))
#else
#define KTR_API
#endif
