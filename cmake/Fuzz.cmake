# The fuzzers. With ZOR_FUZZ (preset "fuzz", clang) they are linked with libFuzzer and everything is built with its
# instrumentation; elsewhere a small main replays their corpora, as one test each.
if(ZOR_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "ZOR_FUZZ needs clang++: cmake --preset fuzz")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

function(zor_fuzz_support)
  add_library(fuzz_support STATIC fuzz/support/fuzz.cpp)
  add_library(fuzz_hooks OBJECT fuzz/support/hooks.cpp)
  add_library(fuzz_replay OBJECT fuzz/support/replay.cpp)
  foreach(part fuzz_support fuzz_hooks fuzz_replay)
    zor_test_options(${part})
    target_include_directories(${part} PUBLIC ${PROJECT_SOURCE_DIR}/fuzz/support)
    target_link_libraries(${part} PUBLIC wh)
  endforeach()
endfunction()

# zor_fuzzer(NAME MUTATIONS [SOURCES source...] [LIBRARIES lib...]): the fuzzer fuzz/NAME.cpp, and the test that
# replays fuzz/corpus/NAME, followed by so many inputs made from it. A fuzzer of the whole tool brings its own hooks.
function(zor_fuzzer name mutations)
  cmake_parse_arguments(arg "OWN_HOOKS" "" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(fuzz_${name} fuzz/${name}.cpp ${arg_SOURCES})
  zor_test_options(fuzz_${name})
  target_include_directories(fuzz_${name} PRIVATE
    ${PROJECT_SOURCE_DIR}/fwos/src ${PROJECT_SOURCE_DIR}/wh/src ${PROJECT_SOURCE_DIR}/vqnexpat/include
    ${PROJECT_SOURCE_DIR}/test ${PROJECT_SOURCE_DIR}/wh/test ${PROJECT_SOURCE_DIR}/testkit/include)
  target_link_libraries(fuzz_${name} PRIVATE fuzz_support ${arg_LIBRARIES} wh)
  if(NOT arg_OWN_HOOKS)
    target_link_libraries(fuzz_${name} PRIVATE fuzz_hooks)
  endif()
  if(ZOR_FUZZ)
    target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
    return()
  endif()
  target_link_libraries(fuzz_${name} PRIVATE fuzz_replay)
  add_test(NAME fuzz_${name} COMMAND fuzz_${name} --mutations=${mutations}
    --dict=${PROJECT_SOURCE_DIR}/fuzz/${name}.dict ${PROJECT_SOURCE_DIR}/fuzz/corpus/${name})
  zor_test_environment(fuzz_${name})
endfunction()

function(zor_fuzzers)
  find_package(GTest REQUIRED)
  zor_fuzz_support()
  zor_fuzzer(glob 4000 SOURCES test/model/words.cpp)
  zor_fuzzer(version 8000 SOURCES test/model/words.cpp)
  foreach(reader prodinfo partlist settings recipe)
    zor_fuzzer(${reader} 2500 LIBRARIES vqnexpat GTest::gtest)
  endforeach()
endfunction()
