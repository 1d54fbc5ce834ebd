target_sources(xvtui_core PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/LocalizedText.cpp
    ${CMAKE_CURRENT_LIST_DIR}/CSPLocalizer.cpp
    ${CMAKE_CURRENT_LIST_DIR}/FormatCheck.cpp
    ${CMAKE_CURRENT_LIST_DIR}/VtuiLogic.cpp)
