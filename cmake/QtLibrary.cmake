# The package files of the Qt host: a component that hosts ask for, beside a library that knows
# nothing of it.
install(TARGETS ZarnQt EXPORT ZarnQtTargets)
install(FILES include/zarn/qt.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zarn)
install(EXPORT ZarnQtTargets NAMESPACE Zarn:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Zarn)
set(ZARN_QT_PC_REQUIRES "")
if(NOT BUILD_SHARED_LIBS)
  set(ZARN_QT_PC_REQUIRES "Qt6Quick Qt6Widgets Qt6Network")
endif()
configure_file(cmake/zarn-qt.pc.in zarn-qt.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zarn-qt.pc DESTINATION ${ZARN_PC_DIR})
