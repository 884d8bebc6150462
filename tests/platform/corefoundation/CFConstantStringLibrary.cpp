#include "CFConstantStringLibrary.h"

namespace {
// Runs while the library loads, before main(): CFSTR must already work.
const CFStringRef gFromStaticInit = CFSTR("zpcf shared literal");
} // namespace

CFStringRef zpcfLibraryLiteralFromStaticInit() { return gFromStaticInit; }
CFStringRef zpcfLibraryLiteralNow() { return CFSTR("zpcf shared literal"); }
