# The feature codes exported for hosts, and the utilities class hosts share.
target_sources(ZpToolboxLiteObjects PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/ZpAnalyticsFeatureCodes.h
  ${CMAKE_CURRENT_LIST_DIR}/ZpAnalyticsFeatureCodes.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ZpToolboxUtils.h
  ${CMAKE_CURRENT_LIST_DIR}/ZpToolboxUtils.cpp
)
