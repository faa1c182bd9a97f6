# Settings that all targets of the tree share.

# Rule: while the major version is 0, each minor version has a binary interface of its own; from 1 on,
# each major version. docs/sdk.md says what that means.
if(PROJECT_VERSION_MAJOR EQUAL 0)
    set(ORVANE_SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
    set(ORVANE_COMPATIBILITY SameMinorVersion)
else()
    set(ORVANE_SOVERSION ${PROJECT_VERSION_MAJOR})
    set(ORVANE_COMPATIBILITY SameMajorVersion)
endif()

add_library(orvane_warnings INTERFACE)
target_compile_options(orvane_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wformat=2 -Wconversion -Wsign-conversion -Wold-style-cast
    -Wcast-align -Wnon-virtual-dtor -Woverloaded-virtual -Wsuggest-override -Wextra-semi
    $<$<BOOL:${ORVANE_WARNINGS_AS_ERRORS}>:-Werror>)

# Warnings for our own code, Qt without its macros that hide conversions and keywords.
function(orvane_target_defaults target)
    target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:orvane_warnings>)
    target_compile_definitions(${target} PRIVATE QT_NO_CAST_FROM_ASCII QT_NO_KEYWORDS)
endfunction()

# Sanitizers bring their own allocator, make system calls themselves, and reserve more address space
# than some tests leave.
set(ORVANE_HAS_SANITIZERS OFF)
if("${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_DEBUG} ${CMAKE_CXX_FLAGS_RELEASE}" MATCHES "-fsanitize")
    set(ORVANE_HAS_SANITIZERS ON)
endif()
