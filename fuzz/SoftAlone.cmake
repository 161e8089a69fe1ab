# pyrelux_soft_alone(name): a library with the platform layer's C++ alone, where fuzzers can reach into the software
# renderer and choose how it is compiled: no Objective-C, no EGL.
function(pyrelux_soft_alone name)
  get_target_property(folder pyrelux_platform SOURCE_DIR)
  get_target_property(sources pyrelux_platform SOURCES)
  list(FILTER sources EXCLUDE REGEX "\\.mm$|backends/egl/")
  list(APPEND sources backends/egl/NoEGLBackend.cpp)
  list(TRANSFORM sources PREPEND ${folder}/)
  add_library(${name} STATIC ${sources})
  target_include_directories(${name}
    PUBLIC ${folder}/opengl/include ${folder}/cgl/include
    PRIVATE ${folder}/cgl ${folder}/backends/egl ${folder}/backends/null ${folder}/backends/recording
            ${folder}/backends/soft)
  target_link_libraries(${name} PUBLIC pyrelux_softraster PRIVATE pyrelux_options)
endfunction()
