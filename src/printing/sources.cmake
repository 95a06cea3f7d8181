# Printing: the listing's lines without widgets; the dialog and its command.
target_sources(tovalin_core PRIVATE ${CMAKE_CURRENT_LIST_DIR}/Listing.cpp)
target_sources(tovalin_gui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/Form6.cpp
  ${CMAKE_CURRENT_LIST_DIR}/PrintingCommands.cpp
)
