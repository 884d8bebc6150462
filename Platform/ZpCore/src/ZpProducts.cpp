#include <ZpCore/ZpProducts.h>

// __CFStringMakeConstantString (what CFSTR expands to) hands out one interned
// object per text: these are the very objects a CFSTR("Alpha") anywhere else in
// the process yields. Initialised when the library loads, after
// ZpCoreFoundation (a dependency, hence initialised first).
const CFStringRef kZpProductAlpha = __CFStringMakeConstantString("Alpha");
const CFStringRef kZpProductBeta = __CFStringMakeConstantString("Beta");
const CFStringRef kZpProductGamma = __CFStringMakeConstantString("Gamma");
const CFStringRef kZpProductDelta = __CFStringMakeConstantString("Delta");
const CFStringRef kZpProductEpsilon = __CFStringMakeConstantString("Epsilon");
const CFStringRef kZpProductZeta = __CFStringMakeConstantString("Zeta");
const CFStringRef kZpProductEta = __CFStringMakeConstantString("Eta");
const CFStringRef kZpProductTheta = __CFStringMakeConstantString("Theta");
const CFStringRef kZpProductIota = __CFStringMakeConstantString("Iota");
const CFStringRef kZpProductKappa = __CFStringMakeConstantString("Kappa");
