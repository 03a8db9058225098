# The reader of recordings. It needs only these sources of the stand-in, so that zeb_recording can be built without the
# stand-in.
add_library(zeb_file STATIC ${CMAKE_CURRENT_LIST_DIR}/zeb_file.cpp)
target_include_directories(zeb_file PUBLIC ${CMAKE_CURRENT_LIST_DIR})
target_link_libraries(zeb_file PRIVATE cpe_dm_warnings)

add_library(zeb_recording_reader STATIC ${CMAKE_CURRENT_LIST_DIR}/zebservices/recording.cpp)
target_include_directories(zeb_recording_reader PUBLIC ${CMAKE_CURRENT_LIST_DIR}/zebservices)
target_link_libraries(zeb_recording_reader PUBLIC zeb_file PRIVATE cpe_dm_warnings)
