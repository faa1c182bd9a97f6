# Package of OrvaneSDK: gives the target Orvane::SDK. BStringQt.h needs Qt6::Core of its user.
include(${CMAKE_CURRENT_LIST_DIR}/OrvaneTargets.cmake)
