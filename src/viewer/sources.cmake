# The point view: its data and navigation without widgets; the window and its
# drawing surface.
target_sources(tovalin_core PRIVATE ${CMAKE_CURRENT_LIST_DIR}/PointView.cpp)
target_sources(tovalin_gui PRIVATE
  ${CMAKE_CURRENT_LIST_DIR}/ViewPicture.cpp
  ${CMAKE_CURRENT_LIST_DIR}/Zone.cpp
  ${CMAKE_CURRENT_LIST_DIR}/frmVisualisation.cpp
  ${CMAKE_CURRENT_LIST_DIR}/ViewerCommands.cpp
)
