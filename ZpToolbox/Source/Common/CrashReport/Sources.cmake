target_sources(ZpToolboxLiteObjects PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/Crashes.cpp
  ${CMAKE_CURRENT_LIST_DIR}/MSCrashesDelegate.cpp)

# The crash-time core, one implementation per platform.
if(WIN32)
  target_sources(ZpToolboxLiteObjects PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/CrashCaptureWin.cpp
    ${CMAKE_CURRENT_LIST_DIR}/CrashPathWin.cpp)
  target_link_libraries(ZpToolboxLiteObjects PUBLIC dbghelp) # MiniDumpWriteDump
else()
  target_sources(ZpToolboxLiteObjects PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/CrashCaptureLinux.cpp
    ${CMAKE_CURRENT_LIST_DIR}/CrashPathPosix.cpp
    ${CMAKE_CURRENT_LIST_DIR}/MinidumpWriterLinux.cpp)
endif()
include(${CMAKE_CURRENT_LIST_DIR}/CrashDialog.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/Workflow.cmake)
