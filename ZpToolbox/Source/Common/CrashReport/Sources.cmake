target_sources(ZpToolboxLiteObjects PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/Crashes.cpp)
