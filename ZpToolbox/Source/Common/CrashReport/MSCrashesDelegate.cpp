#include "CrashReport/MSCrashesDelegate.h"

MSCrashesDelegate::~MSCrashesDelegate() = default;
