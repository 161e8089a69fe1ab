# Foundation and AppKit on Linux: the target pyrelux_gnustep carries GNUstep's flags and libraries.
find_path(GNUSTEP_INCLUDE_DIR Foundation/Foundation.h PATH_SUFFIXES GNUstep REQUIRED)
find_library(GNUSTEP_BASE_LIBRARY gnustep-base REQUIRED)
find_library(GNUSTEP_GUI_LIBRARY gnustep-gui REQUIRED)
execute_process(COMMAND ${CMAKE_OBJCXX_COMPILER} -print-file-name=libobjc.so
  OUTPUT_VARIABLE PYRELUX_LIBOBJC OUTPUT_STRIP_TRAILING_WHITESPACE)

add_library(pyrelux_gnustep INTERFACE)
target_include_directories(pyrelux_gnustep SYSTEM INTERFACE ${GNUSTEP_INCLUDE_DIR})
target_compile_options(pyrelux_gnustep INTERFACE $<$<COMPILE_LANGUAGE:OBJCXX>:
  -fobjc-exceptions -fexceptions -fgnu-runtime -fconstant-string-class=NSConstantString>)
target_link_libraries(pyrelux_gnustep INTERFACE ${GNUSTEP_GUI_LIBRARY} ${GNUSTEP_BASE_LIBRARY} ${PYRELUX_LIBOBJC})
