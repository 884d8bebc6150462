// A second translation unit for the CFSTR uniqueness test: the same literal
// here must give the pointer that CFConstantStringTest.cpp gets.
#include <CoreFoundation/CoreFoundation.h>

CFStringRef zpcfOtherUnitSharedLiteral() { return CFSTR("zpcf shared literal"); }
