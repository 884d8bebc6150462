# The exported interface: the C functions, the feature codes and the toolbox
# utilities, with the one public header that declares them.
include(${CMAKE_CURRENT_LIST_DIR}/FeatureCodes.cmake)

target_sources(ZpToolboxLiteObjects PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/ZpToolboxLite.h
  ${CMAKE_CURRENT_LIST_DIR}/ZpAnalyticsExports.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ZpCrashReportExports.cpp)
