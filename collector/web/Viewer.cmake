# The viewer, built from npm packages in the build folder and put beside the program. Without npm there
# is no viewer, and the collector says so on its page.
find_program(NPM npm)
option(ZARN_BUILD_VIEWER "Build the collector's web viewer where npm is found" ON)
if(NOT NPM)
  message(STATUS "npm not found: the collector has no viewer")
  return()
endif()
if(NOT ZARN_BUILD_VIEWER)
  return()
endif()

set(web ${CMAKE_CURRENT_SOURCE_DIR}/web)
set(work ${CMAKE_CURRENT_BINARY_DIR}/web)
set(viewer ${CMAKE_CURRENT_BINARY_DIR}/viewer)
file(GLOB_RECURSE web_sources CONFIGURE_DEPENDS ${web}/src/* ${web}/tests/*)
set(web_manifest ${web}/package.json ${web}/package-lock.json ${web}/.npmrc)

add_custom_command(
  OUTPUT ${work}/installed
  COMMAND ${CMAKE_COMMAND} -E make_directory ${work}
  COMMAND ${CMAKE_COMMAND} -E copy ${web_manifest} ${work}
  COMMAND ${CMAKE_COMMAND} -E chdir ${work} ${NPM} ci --loglevel error
  COMMAND ${CMAKE_COMMAND} -E touch ${work}/installed
  DEPENDS ${web_manifest}
  COMMENT "Fetching the viewer's packages (ZARN_BUILD_VIEWER=OFF does without)"
  VERBATIM)
add_custom_command(
  OUTPUT ${viewer}/index.html
  COMMAND ${CMAKE_COMMAND} -E copy ${web}/index.html ${web}/vite.config.js ${web}/tsconfig.json ${work}
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${work}/src ${work}/tests ${viewer}
  COMMAND ${CMAKE_COMMAND} -E copy_directory ${web}/src ${work}/src
  COMMAND ${CMAKE_COMMAND} -E copy_directory ${web}/tests ${work}/tests
  COMMAND ${CMAKE_COMMAND} -E chdir ${work} ${NPM} run --silent build -- --outDir ${viewer} --emptyOutDir --logLevel warn
  DEPENDS ${work}/installed ${web_sources} ${web}/index.html ${web}/vite.config.js ${web}/tsconfig.json
  COMMENT "Building the viewer"
  VERBATIM)
add_custom_target(zarn_viewer ALL DEPENDS ${viewer}/index.html)
install(DIRECTORY ${viewer}/ DESTINATION ${CMAKE_INSTALL_DATADIR}/zarn/viewer)

find_program(CHROMIUM NAMES chromium chromium-browser)
if(ZARN_BUILD_TESTS AND CHROMIUM)
  enable_testing()
  add_test(NAME viewer_tests COMMAND ${NPM} --prefix ${work} test)
  set_tests_properties(
    viewer_tests
    PROPERTIES TIMEOUT 180 ENVIRONMENT
               "ZARN_COLLECTOR=$<TARGET_FILE:zarn-collector>;ZARN_VIEWER=${viewer};CHROMIUM=${CHROMIUM}")
endif()
