# The one archive, its exported target and its package files.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

get_property(rooms GLOBAL PROPERTY ZARN_ROOMS)
set(objects)
foreach(room IN LISTS rooms)
  list(APPEND objects $<TARGET_OBJECTS:${room}>)
endforeach()

add_library(Zarn ${objects})
add_library(Zarn::Zarn ALIAS Zarn)
target_include_directories(Zarn PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
                                       $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_compile_features(Zarn PUBLIC cxx_std_20)
set(ZARN_LINK_LIBRARIES Threads::Threads OpenSSL::Crypto CURL::libcurl SQLite::SQLite3 PkgConfig::PCRE2)
target_link_libraries(Zarn PRIVATE ${ZARN_LINK_LIBRARIES})
set_target_properties(Zarn PROPERTIES OUTPUT_NAME zarn VERSION ${PROJECT_VERSION}
                                      SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
if(BUILD_SHARED_LIBS)
  # Unloading it would leave its threads without code.
  target_link_options(Zarn PRIVATE -Wl,-z,nodelete)
endif()

install(TARGETS Zarn EXPORT ZarnTargets)
install(DIRECTORY include/zarn DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} PATTERN qt.h EXCLUDE)
install(EXPORT ZarnTargets NAMESPACE Zarn:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Zarn)
# The package files find their way from where they lie, so that an installed tree can be moved. Who
# links the archive must link what it stands on; the shared library has that inside.
set(ZARN_PC_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH ZARN_PC_TO_PREFIX ${CMAKE_INSTALL_PREFIX}/${ZARN_PC_DIR} ${CMAKE_INSTALL_PREFIX})
set(ZARN_PC_REQUIRES "")
set(ZARN_PC_LIBS "")
if(NOT BUILD_SHARED_LIBS)
  set(ZARN_PC_REQUIRES "libcurl libcrypto sqlite3 libpcre2-8")
  set(ZARN_PC_LIBS "-lstdc++ -pthread")
endif()
configure_package_config_file(cmake/ZarnConfig.cmake.in ZarnConfig.cmake
                              INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Zarn)
write_basic_package_version_file(ZarnConfigVersion.cmake COMPATIBILITY SameMinorVersion)
configure_file(cmake/zarn.pc.in zarn.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/ZarnConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/ZarnConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Zarn)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zarn.pc DESTINATION ${ZARN_PC_DIR})
