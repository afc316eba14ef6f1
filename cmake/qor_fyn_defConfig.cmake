# find_package(qor_fyn_def) gives the target qor_fyn_def::qor_fyn_def.
include(${CMAKE_CURRENT_LIST_DIR}/qor_fyn_defTargets.cmake)

# Linkers of the MSVC kind have import libraries of their own beside MinGW's.
if(WIN32 AND NOT MINGW)
  foreach(library IN ITEMS qor_fyn_def qor_core)
    get_target_property(configurations qor_fyn_def::${library} IMPORTED_CONFIGURATIONS)
    foreach(configuration IN LISTS configurations)
      get_target_property(implib qor_fyn_def::${library} IMPORTED_IMPLIB_${configuration})
      string(REGEX REPLACE "lib(qor_[a-z_]+)\\.dll\\.a$" "\\1.lib" implib "${implib}")
      set_target_properties(qor_fyn_def::${library} PROPERTIES IMPORTED_IMPLIB_${configuration} "${implib}")
    endforeach()
  endforeach()
endif()
