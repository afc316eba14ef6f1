# Installs BUILD into a directory and moves the whole to PREFIX: nothing installed may depend on its place.
file(REMOVE_RECURSE ${PREFIX} ${PREFIX}_at_first)
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${PREFIX}_at_first OUTPUT_QUIET
                COMMAND_ERROR_IS_FATAL ANY)
file(RENAME ${PREFIX}_at_first ${PREFIX})
