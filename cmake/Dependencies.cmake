# What the platform stands on. Found here rather than there, because targets of a package are seen from the folder that
# looks for it downwards, and under names of our own, because a host may look for the same.
find_package(PkgConfig REQUIRED)
pkg_check_modules(MIRTAL_LIBAVCODEC REQUIRED IMPORTED_TARGET libavcodec>=59.24 libavutil>=57.24 libswresample>=4)
pkg_check_modules(MIRTAL_LIBAVFORMAT REQUIRED IMPORTED_TARGET libavformat>=59.16 libavcodec>=59.24 libavutil>=57.24)
pkg_check_modules(MIRTAL_LIBPLIST REQUIRED IMPORTED_TARGET libplist-2.0>=2.2)
find_package(ICU 70 REQUIRED COMPONENTS i18n uc data)

set(TOOLBOX_LIBRARIES PkgConfig::MIRTAL_LIBAVCODEC PkgConfig::MIRTAL_LIBPLIST ICU::i18n ICU::uc ${CMAKE_DL_LIBS})
