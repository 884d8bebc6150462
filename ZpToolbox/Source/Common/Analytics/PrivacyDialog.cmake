# The privacy consent dialog. Its form is compiled from the .ui file by uic here
# (the target has no AUTOUIC); the generated ui_QueryImproveProductsDlg.h lands
# in this directory's binary folder, which only the library's own sources see.
qt6_wrap_ui(ZP_PRIVACY_DIALOG_FORM ${CMAKE_CURRENT_LIST_DIR}/QueryImproveProductsDlg.ui)
set_source_files_properties(${ZP_PRIVACY_DIALOG_FORM} PROPERTIES SKIP_AUTOMOC ON)
target_sources(ZpToolboxLiteObjects PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/QueryImproveProductsDlg.h
  ${CMAKE_CURRENT_LIST_DIR}/QueryImproveProductsDlg.cpp
  ${CMAKE_CURRENT_LIST_DIR}/QueryImproveProductsDlg.ui
  ${ZP_PRIVACY_DIALOG_FORM})
target_include_directories(ZpToolboxLiteObjects PRIVATE ${CMAKE_CURRENT_BINARY_DIR})
