# The crash-report workflow: the controller that arms the service at start-up,
# the launch event filter that starts it, and the delegate that attaches the
# product log and the crash description to each report. The QObject header is
# listed for AUTOMOC.
target_sources(ZpToolboxLiteObjects PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/CrashReportController.h
  ${CMAKE_CURRENT_LIST_DIR}/CrashReportController.cpp
  ${CMAKE_CURRENT_LIST_DIR}/CrashReportEventFilter.h
  ${CMAKE_CURRENT_LIST_DIR}/CrashReportEventFilter.cpp
  ${CMAKE_CURRENT_LIST_DIR}/WinCrashManagerDelegate.h
  ${CMAKE_CURRENT_LIST_DIR}/WinCrashManagerDelegate.cpp)
