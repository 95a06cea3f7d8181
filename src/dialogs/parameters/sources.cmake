# The file parameters dialog and the command that opens it.
target_sources(tovalin_gui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/Form2.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ParametersCommand.cpp
)
