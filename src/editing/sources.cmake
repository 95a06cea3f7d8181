# Numbering and coordinate format.
target_sources(tovalin_core PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/Numbering.cpp
  ${CMAKE_CURRENT_LIST_DIR}/CoordinateFormat.cpp
)
target_sources(tovalin_gui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/Form5.cpp
  ${CMAKE_CURRENT_LIST_DIR}/FormatDonnee.cpp
  ${CMAKE_CURRENT_LIST_DIR}/NumberingCommands.cpp
)
# Point editor, delete and search.
target_sources(tovalin_core PRIVATE ${CMAKE_CURRENT_LIST_DIR}/PointEditing.cpp)
target_sources(tovalin_gui PRIVATE ${CMAKE_CURRENT_LIST_DIR}/Form3.cpp ${CMAKE_CURRENT_LIST_DIR}/EditingCommands.cpp)
