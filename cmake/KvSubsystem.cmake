# One object library per source folder, so a folder builds and is tested on its own.
# kv_subsystem(NAME <name> [DEPS <object libs>...] [PRIVATE <adapters' libraries>...])
# PRIVATE libraries (GMime, curl) reach only the folder's own sources, never its users' includes.
function(kv_subsystem)
  cmake_parse_arguments(KV "" "NAME" "DEPS;PRIVATE" ${ARGN})
  file(GLOB _src CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/*.h
       ${CMAKE_CURRENT_SOURCE_DIR}/*.qrc)
  add_library(${KV_NAME} OBJECT ${_src})
  target_include_directories(${KV_NAME} PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src>
                                               $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/kvmail>)
  target_link_libraries(${KV_NAME} PUBLIC Qt6::Core Qt6::Gui Qt6::Widgets Qt6::Network Qt6::Sql
                                          Qt6::PrintSupport ${KV_DEPS})
  if(KV_PRIVATE)
    target_link_libraries(${KV_NAME} PRIVATE ${KV_PRIVATE})
  endif()
endfunction()

# kv_test(NAME <name> SOURCES <files...> LIBS <libs...> [LABELS ...] [FIXTURES ...])
# A GoogleTest executable registered as one CTest test, run offscreen.
function(kv_test)
  cmake_parse_arguments(KV "" "NAME;TIMEOUT" "SOURCES;LIBS;LABELS;FIXTURES" ${ARGN})
  add_executable(${KV_NAME} ${KV_SOURCES})
  target_link_libraries(${KV_NAME} PRIVATE kv_testmain ${KV_LIBS})
  target_compile_options(${KV_NAME} PRIVATE -include ${PROJECT_SOURCE_DIR}/tests/testmain/QtPrinters.h)
  add_test(NAME ${KV_NAME} COMMAND ${KV_NAME})
  if(NOT KV_TIMEOUT)
    set(KV_TIMEOUT 300)
  endif()
  set_tests_properties(${KV_NAME} PROPERTIES
    ENVIRONMENT "QT_QPA_PLATFORM=offscreen;KV_SOURCE_DIR=${PROJECT_SOURCE_DIR};KV_BUILD_DIR=${PROJECT_BINARY_DIR}"
    TIMEOUT ${KV_TIMEOUT})
  if(KV_LABELS)
    set_tests_properties(${KV_NAME} PROPERTIES LABELS "${KV_LABELS}")
  endif()
  if(KV_FIXTURES)
    set_tests_properties(${KV_NAME} PROPERTIES FIXTURES_REQUIRED "${KV_FIXTURES}")
  endif()
endfunction()
