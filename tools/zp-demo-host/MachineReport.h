#pragma once

#include <QString>

// What the platform libraries report about this machine and process, as the
// product would see it: one "Name: value" line per fact. GUI thread only (the
// OpenGL facts need a context).
class MachineReport {
public:
    static QString text();
};
