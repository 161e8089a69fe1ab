# What reads texts that people write, without Objective-C, for the fuzzers.
find_package(nlohmann_json REQUIRED)
set(PYRELUX_TEXT_SOURCES
  ${PROJECT_SOURCE_DIR}/host/Keyframes.cpp
  ${PROJECT_SOURCE_DIR}/host/Parameters.cpp
  ${PROJECT_SOURCE_DIR}/host/ParameterText.cpp
  ${PROJECT_SOURCE_DIR}/project/Presets.cpp
  ${PROJECT_SOURCE_DIR}/project/Project.cpp
  ${PROJECT_SOURCE_DIR}/project/ProjectFile.cpp
  ${PROJECT_SOURCE_DIR}/project/Scene.cpp
  ${PROJECT_SOURCE_DIR}/tests/support/SampleParameters.cpp)
set(PYRELUX_TEXT_FOLDERS ${PROJECT_SOURCE_DIR}/host ${PROJECT_SOURCE_DIR}/project ${PROJECT_SOURCE_DIR}/tests/support)
# What takes the messages of the studio's pages.
set(PYRELUX_MESSAGE_SOURCES
  ${PROJECT_SOURCE_DIR}/job/RenderRequest.cpp
  ${PROJECT_SOURCE_DIR}/studio/Document.cpp
  ${PROJECT_SOURCE_DIR}/studio/Edits.cpp
  ${PROJECT_SOURCE_DIR}/studio/Fields.cpp
  ${PROJECT_SOURCE_DIR}/studio/Folders.cpp
  ${PROJECT_SOURCE_DIR}/studio/Requests.cpp)
set(PYRELUX_MESSAGE_FOLDERS ${PROJECT_SOURCE_DIR}/job ${PROJECT_SOURCE_DIR}/studio)
