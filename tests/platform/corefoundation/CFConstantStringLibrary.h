// A separate shared library (zpcf_cfstr_library) used by the CFSTR tests: its
// static initialiser calls CFSTR before any test code runs.
#ifndef ZPCF_TESTS_CFCONSTANTSTRINGLIBRARY_H
#define ZPCF_TESTS_CFCONSTANTSTRINGLIBRARY_H

#include <CoreFoundation/CoreFoundation.h>

#if defined(_WIN32) && defined(ZPCF_TEST_LIBRARY_BUILDING)
#define ZPCF_TEST_LIBRARY_EXPORT __declspec(dllexport)
#elif defined(_WIN32)
#define ZPCF_TEST_LIBRARY_EXPORT __declspec(dllimport)
#else
#define ZPCF_TEST_LIBRARY_EXPORT __attribute__((visibility("default")))
#endif

// CFSTR("zpcf shared literal") as the library saw it from its static initialiser.
ZPCF_TEST_LIBRARY_EXPORT CFStringRef zpcfLibraryLiteralFromStaticInit();
// CFSTR("zpcf shared literal") taken now, inside the library.
ZPCF_TEST_LIBRARY_EXPORT CFStringRef zpcfLibraryLiteralNow();

#endif // ZPCF_TESTS_CFCONSTANTSTRINGLIBRARY_H
