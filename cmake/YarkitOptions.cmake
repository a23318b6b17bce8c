# Compiler flags shared by every target of the project.

if(YK_SANITIZE STREQUAL "address")
    add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
    add_link_options(-fsanitize=address,undefined)
elseif(YK_SANITIZE STREQUAL "thread")
    add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
    add_link_options(-fsanitize=thread)
elseif(NOT YK_SANITIZE STREQUAL "")
    message(FATAL_ERROR "YK_SANITIZE must be empty, 'address' or 'thread'")
endif()

set(YK_RUN_LOOP "generic" CACHE STRING "The run loop's back end: generic (epoll) or glib (GMainContext)")
if(NOT YK_RUN_LOOP MATCHES "^(generic|glib)$")
    message(FATAL_ERROR "YK_RUN_LOOP must be 'generic' or 'glib'")
endif()

option(YK_THREAD_SAFETY "Check the lock annotations with clang's -Wthread-safety" OFF)
if(YK_THREAD_SAFETY AND NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "YK_THREAD_SAFETY needs clang (CXX=clang++)")
endif()

function(yk_apply_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic)
    if(YK_THREAD_SAFETY)
        target_compile_options(${target} PRIVATE -Wthread-safety -Wthread-safety-beta)
    endif()
    if(YK_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()

# Run paths: installed programs find the library beside them in ../lib.
set(CMAKE_INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
