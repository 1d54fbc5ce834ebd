target_sources(xvtui_core PRIVATE ${CMAKE_CURRENT_LIST_DIR}/RndmDialog.cpp)
