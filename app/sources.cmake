target_sources(xvtui_core PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/DialogFactory.cpp
    ${CMAKE_CURRENT_LIST_DIR}/Entry.cpp
    ${CMAKE_CURRENT_LIST_DIR}/xvtui_exception.cpp)
