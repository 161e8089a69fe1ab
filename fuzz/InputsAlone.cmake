# What reads texts that people write, without Objective-C, for the fuzzers.
find_package(nlohmann_json REQUIRED)
set(PYRELUX_TEXT_SOURCES
  ${PROJECT_SOURCE_DIR}/host/Keyframes.cpp
  ${PROJECT_SOURCE_DIR}/host/Parameters.cpp
  ${PROJECT_SOURCE_DIR}/host/ParameterText.cpp
  ${PROJECT_SOURCE_DIR}/project/Presets.cpp
  ${PROJECT_SOURCE_DIR}/project/Project.cpp
  ${PROJECT_SOURCE_DIR}/project/ProjectFile.cpp
  ${PROJECT_SOURCE_DIR}/tests/support/SampleParameters.cpp)
set(PYRELUX_TEXT_FOLDERS ${PROJECT_SOURCE_DIR}/host ${PROJECT_SOURCE_DIR}/project ${PROJECT_SOURCE_DIR}/tests/support)
