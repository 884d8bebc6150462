# The crash report dialog and its form. The header is listed for AUTOMOC.
target_sources(ZpToolboxLiteObjects PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/CrashReportDialog.h
  ${CMAKE_CURRENT_LIST_DIR}/CrashReportDialog.cpp
  ${CMAKE_CURRENT_LIST_DIR}/Ui_CrashReportDialog.h
  ${CMAKE_CURRENT_LIST_DIR}/Ui_CrashReportDialog.cpp)
