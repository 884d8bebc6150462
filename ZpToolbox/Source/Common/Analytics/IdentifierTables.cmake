target_sources(ZpToolboxLiteObjects PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/BundleIdentifierKey.cpp
  ${CMAKE_CURRENT_LIST_DIR}/CrashAppIdentiferKey.cpp
  ${CMAKE_CURRENT_LIST_DIR}/BundleIdentifierMap.cpp
  ${CMAKE_CURRENT_LIST_DIR}/CrashAppIdentiferMap.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ProductIdentifierData.cpp
  ${CMAKE_CURRENT_LIST_DIR}/SystemProperties.cpp
)
