#pragma once

class AnalyticsController;

// Tests only: the first analytics controller started (the process-wide
// current-controller slot of the exported functions), or null.
AnalyticsController* currentAnalyticsControllerForTesting();
