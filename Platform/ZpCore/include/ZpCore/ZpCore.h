#ifndef ZPCORE_ZPCORE_H
#define ZPCORE_ZPCORE_H

/* Everything ZpCore offers. The C interface is usable from C and C++; ZpString
 * is C++ only and comes with this header only when compiling C++. */

#include <ZpCore/ZpLog.h>
#include <ZpCore/ZpProcess.h>
#include <ZpCore/ZpProducts.h>
#include <ZpCore/ZpUtils.h>

#ifdef __cplusplus
#include <ZpCore/ZpString.h>
#endif

#endif
