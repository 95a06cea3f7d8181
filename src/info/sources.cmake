# Help, about box, history, splash, web links and the message to the author.
target_sources(tovalin_core PRIVATE ${CMAKE_CURRENT_LIST_DIR}/InfoTexts.cpp)
target_sources(tovalin_gui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/InfoWindows.cpp
  ${CMAKE_CURRENT_LIST_DIR}/InfoCommands.cpp
)
