# The product identifier tables and the system description.
include(${CMAKE_CURRENT_LIST_DIR}/IdentifierTables.cmake)

target_sources(ZpToolboxLiteObjects PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/AnalyticsController.cpp
  ${CMAKE_CURRENT_LIST_DIR}/FeatureTracking.cpp
  ${CMAKE_CURRENT_LIST_DIR}/TrackingObjectFactory.cpp)
include(${CMAKE_CURRENT_LIST_DIR}/PrivacyDialog.cmake)
