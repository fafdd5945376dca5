# What every target of the project shares, and the functions that make one.

add_library(TamselOptions INTERFACE)
target_include_directories(TamselOptions INTERFACE ${CMAKE_SOURCE_DIR})
target_compile_options(TamselOptions INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
  $<$<BOOL:${TAMSEL_WARNINGS_ARE_ERRORS}>:-Werror>)
target_compile_definitions(TamselOptions INTERFACE
  QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING
  QT_DISABLE_DEPRECATED_BEFORE=0x060400 _FILE_OFFSET_BITS=64)
# Comes with the compiler's own linker and needs a third of its time, for well over a hundred programs.
find_program(GOLD ld.gold)
if(GOLD)
  target_link_options(TamselOptions INTERFACE -fuse-ld=gold)
endif()
if(TAMSEL_SANITIZE)
  target_compile_options(TamselOptions INTERFACE
    -fsanitize=${TAMSEL_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  target_link_options(TamselOptions INTERFACE -fsanitize=${TAMSEL_SANITIZE})
endif()
if(TAMSEL_COVERAGE)
  target_compile_options(TamselOptions INTERFACE --coverage)
  target_link_options(TamselOptions INTERFACE --coverage)
endif()

# tamsel_install(TARGET FOLDER): the target's binary goes to FOLDER, which is relative to the prefix, and finds the
# libraries by its own place, so that an installation may be moved.
function(tamsel_install target folder)
  file(RELATIVE_PATH way /${folder} /${TAMSEL_LIBRARIES})
  set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/${way}")
  install(TARGETS ${target} RUNTIME DESTINATION ${folder} LIBRARY DESTINATION ${folder})
endfunction()

# tamsel_installed_folder(VARIABLE FOLDER): where an installation has what the build has in FOLDER.
function(tamsel_installed_folder variable folder)
  string(REPLACE ${TAMSEL_APPLICATIONS} ${TAMSEL_LIBRARIES} folder ${folder})
  string(REPLACE ${TAMSEL_PANES} share/PreferencePanes folder ${folder})
  set(${variable} ${folder} PARENT_SCOPE)
endfunction()

# tamsel_library(NAME): a shared library; the folders below add their own sources and headers to it.
function(tamsel_library name)
  add_library(${name} SHARED)
  target_link_libraries(${name} PUBLIC TamselOptions)
  set_target_properties(${name} PROPERTIES VERIFY_INTERFACE_HEADER_SETS ON)
  tamsel_install(${name} ${TAMSEL_LIBRARIES})
endfunction()

# tamsel_sources(TARGET FILE…): sources go to the target, headers to its header set, which
# `all_verify_interface_header_sets` compiles one by one.
function(tamsel_sources target)
  set(headers ${ARGN})
  list(FILTER headers INCLUDE REGEX "\\.h$")
  set(sources ${ARGN})
  list(FILTER sources EXCLUDE REGEX "\\.h$")
  target_sources(${target} PRIVATE ${sources})
  if(headers)
    target_sources(${target} PUBLIC FILE_SET HEADERS BASE_DIRS ${CMAKE_SOURCE_DIR} FILES ${headers})
  endif()
endfunction()

# tamsel_test(NAME [QT] [SERIAL] SOURCES FILE… [LIBRARIES TARGET…] [LABELS LABEL…] [TIMEOUT SECONDS] [INSTANCES NAME…]):
# a test program; each of its tests runs in a process of its own, so that single instances start afresh. Where making
# what tests need takes longer than they do, those of each of these instances share a process.
function(tamsel_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "QT;SERIAL" "TIMEOUT" "SOURCES;LIBRARIES;LABELS;INSTANCES")
  add_executable(${name} ${arg_SOURCES})
  if(arg_QT)
    set(support TamselQtTestSupport)
    set_target_properties(${name} PROPERTIES AUTOMOC ON)
  else()
    set(support TamselTestSupport)
  endif()
  target_link_libraries(${name} PRIVATE ${support})
  target_precompile_headers(${name} REUSE_FROM ${support})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES})
  set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()
  set(properties TIMEOUT ${arg_TIMEOUT})
  if(arg_SERIAL)
    list(APPEND properties RUN_SERIAL TRUE)
  endif()
  if(arg_LABELS)
    list(APPEND properties LABELS "${arg_LABELS}")
  endif()
  foreach(instance IN LISTS arg_INSTANCES)
    add_test(NAME ${name}.${instance} COMMAND ${name} --gtest_brief=1 --gtest_filter=${instance}/*)
    # All of them are skipped or none, so that no failure can hide behind it.
    set_tests_properties(${name}.${instance} PROPERTIES ${properties} SKIP_REGULAR_EXPRESSION "the machine mounts no")
  endforeach()
  if(arg_INSTANCES)
    return()
  endif()
  gtest_discover_tests(${name}
    DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 NO_PRETTY_VALUES PROPERTIES ${properties})
endfunction()

# tamsel_fuzzer(NAME [LIBRARY…]): a libFuzzer target of NAMEFuzzer.cpp in the preset for that; in any other a test that
# gives it every input that is kept for it.
function(tamsel_fuzzer name)
  add_executable(${name}Fuzzer ${name}Fuzzer.cpp)
  target_link_libraries(${name}Fuzzer PRIVATE TamselEngine ${ARGN})
  set_target_properties(${name}Fuzzer PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  if(TAMSEL_FUZZERS)
    target_compile_options(${name}Fuzzer PRIVATE -fsanitize=fuzzer)
    target_link_options(${name}Fuzzer PRIVATE -fsanitize=fuzzer)
    return()
  endif()
  target_sources(${name}Fuzzer PRIVATE replay.cpp)
  set(folders ${CMAKE_SOURCE_DIR}/Fuzz/Corpus/${name})
  if(EXISTS ${CMAKE_SOURCE_DIR}/Tests/Corpus/${name})
    list(APPEND folders ${CMAKE_SOURCE_DIR}/Tests/Corpus/${name})
  endif()
  add_test(NAME Corpus.${name} COMMAND ${name}Fuzzer ${folders})
  set_tests_properties(Corpus.${name} PROPERTIES TIMEOUT 60)
endfunction()

# tamsel_bundle(TARGET DIRECTORY PLIST): the target's binary goes to Contents/MacOS of the bundle, the filled-in
# property list to Contents/Info.plist.
function(tamsel_bundle target directory plist)
  set_target_properties(${target} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${directory}/Contents/MacOS
    LIBRARY_OUTPUT_DIRECTORY ${directory}/Contents/MacOS)
  configure_file(${plist} ${directory}/Contents/Info.plist @ONLY)
  tamsel_installed_folder(folder ${directory})
  tamsel_install(${target} ${folder}/Contents/MacOS)
  install(FILES ${directory}/Contents/Info.plist DESTINATION ${folder}/Contents)
endfunction()

# tamsel_bundle_tool(TARGET DIRECTORY): a program that lies in this folder of a bundle.
function(tamsel_bundle_tool target directory)
  set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${directory})
  tamsel_installed_folder(folder ${directory})
  tamsel_install(${target} ${folder})
endfunction()

# tamsel_resource(DIRECTORY FILE…): copies files to Contents/Resources of the bundle whenever they change.
function(tamsel_resource directory)
  foreach(file IN LISTS ARGN)
    get_filename_component(name ${file} NAME)
    configure_file(${file} ${directory}/Contents/Resources/${name} COPYONLY)
  endforeach()
  tamsel_installed_folder(folder ${directory})
  install(FILES ${ARGN} DESTINATION ${folder}/Contents/Resources)
endfunction()
