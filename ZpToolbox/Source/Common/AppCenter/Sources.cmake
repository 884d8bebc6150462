target_sources(ZpToolboxLiteObjects PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/AppCenter.cpp
  ${CMAKE_CURRENT_LIST_DIR}/AppCenterAnalytics.cpp
  ${CMAKE_CURRENT_LIST_DIR}/AppCenterEndpoint.cpp
  ${CMAKE_CURRENT_LIST_DIR}/AppCenterLogBatch.cpp
  ${CMAKE_CURRENT_LIST_DIR}/AppCenterLogBuilder.cpp
  ${CMAKE_CURRENT_LIST_DIR}/AppCenterQueue.cpp
  ${CMAKE_CURRENT_LIST_DIR}/DeviceInfo.cpp
  ${CMAKE_CURRENT_LIST_DIR}/EventLogWriter.cpp
  ${CMAKE_CURRENT_LIST_DIR}/PrivateFiles.cpp
  ${CMAKE_CURRENT_LIST_DIR}/UserOnlyFilesEnv.cpp)
if(WIN32)
  target_sources(ZpToolboxLiteObjects PRIVATE ${CMAKE_CURRENT_LIST_DIR}/PrivateFilesWin.cpp)
else()
  target_sources(ZpToolboxLiteObjects PRIVATE ${CMAKE_CURRENT_LIST_DIR}/PrivateFilesPosix.cpp)
endif()
