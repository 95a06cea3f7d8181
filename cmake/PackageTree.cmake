# Run by CPack on the staged tree before it is packed: what a Debian package
# leaves out of a plain install. The licence is in the copyright file, which
# points at /usr/share/common-licenses; the programs lose the sections
# Debian's own packages drop (.comment, .note), as dh_strip does.
if(NOT CPACK_TEMPORARY_INSTALL_DIRECTORY)
  message(FATAL_ERROR "no staged tree")
endif()
set(stage ${CPACK_TEMPORARY_INSTALL_DIRECTORY}${CPACK_PACKAGING_INSTALL_PREFIX})
file(REMOVE ${stage}/share/doc/tovalin/LICENSE)
foreach(program tovalin tovalin-cli)
  execute_process(COMMAND ${CPACK_TOVALIN_STRIP} --remove-section=.comment
    --remove-section=.note ${stage}/lib/tovalin/${program}
    RESULT_VARIABLE failed)
  if(failed)
    message(FATAL_ERROR "strip ${program} failed")
  endif()
endforeach()
