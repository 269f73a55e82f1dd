# zarn_room(NAME): the sources of the current folder as one object library, zarn_NAME, that becomes part
# of the archive. Which room may include which is checked by tools/check_includes.py.
function(zarn_room name)
  file(GLOB sources CONFIGURE_DEPENDS *.cc)
  if(NOT sources)  # A room of headers only is still a target.
    set(sources ${PROJECT_BINARY_DIR}/empty.cc)
    file(TOUCH ${sources})
  endif()
  add_library(zarn_${name} OBJECT ${sources})
  target_include_directories(zarn_${name} PRIVATE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/include)
  target_link_libraries(zarn_${name} PRIVATE zarn_flags)
  set_target_properties(zarn_${name} PROPERTIES CXX_VISIBILITY_PRESET hidden
                                                VISIBILITY_INLINES_HIDDEN ON
                                                UNITY_BUILD ${ZARN_UNITY_BUILD})
  set_property(GLOBAL APPEND PROPERTY ZARN_ROOMS zarn_${name})
endfunction()
