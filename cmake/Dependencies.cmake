find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
pkg_check_modules(FFMPEG REQUIRED IMPORTED_TARGET
  libavformat>=59 libavcodec>=59 libavutil>=57 libswscale>=6 libswresample>=4 libavdevice>=59)
pkg_check_modules(PUGIXML REQUIRED IMPORTED_TARGET pugixml)

# libyuv ships no pkg-config file.
find_path(LIBYUV_INCLUDE_DIR libyuv.h REQUIRED)
find_library(LIBYUV_LIBRARY yuv REQUIRED)
add_library(qmio_libyuv INTERFACE)
target_include_directories(qmio_libyuv SYSTEM INTERFACE ${LIBYUV_INCLUDE_DIR})
target_link_libraries(qmio_libyuv INTERFACE ${LIBYUV_LIBRARY})
