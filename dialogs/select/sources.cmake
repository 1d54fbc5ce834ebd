# Every dialog of the folder; a new dialog needs no edit here.
file(GLOB xvtui_select_sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/*.cpp)
target_sources(xvtui_core PRIVATE ${xvtui_select_sources})
