target_sources(xvtui_core PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/Accessible.cpp
    ${CMAKE_CURRENT_LIST_DIR}/BaseDialog.cpp
    ${CMAKE_CURRENT_LIST_DIR}/Callback.cpp
    ${CMAKE_CURRENT_LIST_DIR}/Countdown.cpp
    ${CMAKE_CURRENT_LIST_DIR}/FontPreload.cpp
    ${CMAKE_CURRENT_LIST_DIR}/GetTimeout.cpp
    ${CMAKE_CURRENT_LIST_DIR}/TextFit.cpp)
