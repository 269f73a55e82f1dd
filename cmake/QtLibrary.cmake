# The package files of the Qt host, a part of its own that hosts ask for.
install(TARGETS ZarnQt EXPORT ZarnQtTargets)
install(FILES include/zarn/qt.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zarn)
install(EXPORT ZarnQtTargets NAMESPACE Zarn:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Zarn)
