# Shared-library conventions of the project: hidden symbols with one export macro
# per library, public headers under include/<Name>/, and an install rule that puts
# both the library and its headers (the generated export header included) under
# the prefix.
include(GenerateExportHeader)
include(CMakePackageConfigHelpers)

# zp_add_shared_library(<target>
#     HEADER_DIR <dir under include/>    folder of the public headers, e.g. ZpCore
#     [EXPORT_MACRO <name>]              generate <HEADER_DIR>/<target>Export.h with it
#     SOURCES <files...>
#     [PUBLIC_LIBS <libs...>] [PRIVATE_LIBS <libs...>])
function(zp_add_shared_library target)
  cmake_parse_arguments(ARG "" "HEADER_DIR;EXPORT_MACRO" "SOURCES;PUBLIC_LIBS;PRIVATE_LIBS" ${ARGN})
  add_library(${target} SHARED ${ARG_SOURCES})
  add_library(Zp::${target} ALIAS ${target})
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}/include>
    $<BUILD_INTERFACE:${CMAKE_CURRENT_BINARY_DIR}/include>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_link_libraries(${target} PUBLIC ${ARG_PUBLIC_LIBS} PRIVATE ${ARG_PRIVATE_LIBS})
  set_target_properties(${target} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  if(ARG_EXPORT_MACRO)
    generate_export_header(${target}
      EXPORT_MACRO_NAME ${ARG_EXPORT_MACRO}
      EXPORT_FILE_NAME ${CMAKE_CURRENT_BINARY_DIR}/include/${ARG_HEADER_DIR}/${target}Export.h)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/include/${ARG_HEADER_DIR}/${target}Export.h
            DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${ARG_HEADER_DIR})
  endif()
  install(TARGETS ${target} EXPORT ZpToolboxLiteTargets
          LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
          ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
          RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}/include/
          DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
endfunction()

# A CMake package so that a host finds the installed libraries with
# find_package(ZpToolboxLite) and links Zp::<target>.
function(zp_install_package_config)
  set(dest ${CMAKE_INSTALL_LIBDIR}/cmake/ZpToolboxLite)
  install(EXPORT ZpToolboxLiteTargets NAMESPACE Zp:: DESTINATION ${dest})
  configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/ZpToolboxLiteConfig.cmake.in
    ${PROJECT_BINARY_DIR}/ZpToolboxLiteConfig.cmake INSTALL_DESTINATION ${dest})
  write_basic_package_version_file(${PROJECT_BINARY_DIR}/ZpToolboxLiteConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
  install(FILES ${PROJECT_BINARY_DIR}/ZpToolboxLiteConfig.cmake
                ${PROJECT_BINARY_DIR}/ZpToolboxLiteConfigVersion.cmake DESTINATION ${dest})
endfunction()
