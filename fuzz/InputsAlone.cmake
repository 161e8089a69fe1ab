# What reads texts that people write, without Objective-C, for the fuzzers and for what replays them.
find_package(nlohmann_json REQUIRED)
set(PYRELUX_TEXT_SOURCES
  ${PROJECT_SOURCE_DIR}/cli/Presets.cpp
  ${PROJECT_SOURCE_DIR}/cli/Project.cpp
  ${PROJECT_SOURCE_DIR}/host/Keyframes.cpp
  ${PROJECT_SOURCE_DIR}/host/Parameters.cpp
  ${PROJECT_SOURCE_DIR}/host/ParameterText.cpp
  ${PROJECT_SOURCE_DIR}/tests/cli/SampleParameters.cpp)
set(PYRELUX_TEXT_FOLDERS ${PROJECT_SOURCE_DIR}/cli ${PROJECT_SOURCE_DIR}/host ${PROJECT_SOURCE_DIR}/tests/cli)
