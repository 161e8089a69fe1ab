# What every target of the project is compiled with.
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_OBJCXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Release, Debug or RelWithDebInfo" FORCE)
endif()

# Clang and Apple's GCC-alike compile Objective-C++ there; elsewhere only g++ gets @protocol(...) expressions and
# exceptions right against the GNU runtime, whichever compiler the C++ sources are given to.
if(NOT APPLE)
  find_program(PYRELUX_GXX NAMES g++ REQUIRED)
  set(CMAKE_OBJCXX_COMPILER ${PYRELUX_GXX})
endif()
enable_language(OBJCXX)

set(PYRELUX_SANITIZER "" CACHE STRING "address, undefined, both with a comma between, or thread; empty for none")
add_library(pyrelux_options INTERFACE)
target_compile_options(pyrelux_options INTERFACE
  -Wall -Wextra -Werror
  $<$<COMPILE_LANGUAGE:CXX>:-Wpedantic -Wshadow -Wconversion -Wno-sign-conversion>
  # CMake does not hand the standard on to GNU Objective-C++.
  $<$<COMPILE_LANGUAGE:OBJCXX>:-std=c++17>
  # A fused multiply-add would change the last bit of the path between processors.
  -ffp-contract=off)
# Sources that are compiled in lots see one another's names. What these warnings find is found where each is compiled alone.
if(CMAKE_UNITY_BUILD)
  target_compile_options(pyrelux_options INTERFACE -Wno-shadow $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
endif()
if(PYRELUX_SANITIZER)
  target_compile_options(pyrelux_options INTERFACE
    -fsanitize=${PYRELUX_SANITIZER} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(pyrelux_options INTERFACE -fsanitize=${PYRELUX_SANITIZER})
endif()

# pyrelux_program(target): what every program of the project gets. Under AddressSanitizer that is the list of what others keep
# for the life of a process, under ThreadSanitizer of what others do, built in, so that it holds however the program is started.
function(pyrelux_program target)
  if(PYRELUX_SANITIZER MATCHES "address")
    target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/LeakSuppressions.cpp)
  elseif(PYRELUX_SANITIZER STREQUAL "thread")
    target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/ThreadSuppressions.cpp)
  endif()
endfunction()
