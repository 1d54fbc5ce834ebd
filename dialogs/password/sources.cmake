target_sources(xvtui_core PRIVATE
    ${CMAKE_CURRENT_LIST_DIR}/PasswordDialog.cpp
    ${CMAKE_CURRENT_LIST_DIR}/PasswordDialogBase.cpp
    ${CMAKE_CURRENT_LIST_DIR}/PasswordDialogFactory.cpp
    ${CMAKE_CURRENT_LIST_DIR}/PasswordDialogOneEntry.cpp
    ${CMAKE_CURRENT_LIST_DIR}/PasswordDialogThreeEntry.cpp
    ${CMAKE_CURRENT_LIST_DIR}/PasswordDialogTwoEntry.cpp
    ${CMAKE_CURRENT_LIST_DIR}/PasswordQuality.cpp
    ${CMAKE_CURRENT_LIST_DIR}/PasswordWarnings.cpp)
