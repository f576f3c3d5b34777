# Options that every target of the project is built with.
function(zor_options target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wundef -fno-exceptions -fno-rtti)
  zor_common_options(${target})
endfunction()

# Test programs use GoogleTest, which wants exceptions and run-time types. g++ 12 warns of overlapping copies where
# there are none when strings are added up (-Wrestrict), and under the sanitizers of optionals that were never set
# (-Wmaybe-uninitialized), so those warnings are off.
function(zor_test_options target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wshadow -Wundef $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict;-Wno-maybe-uninitialized>)
  zor_common_options(${target})
endfunction()

function(zor_common_options target)
  target_compile_options(${target} PRIVATE -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)
  if(ZOR_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(ZOR_SANITIZE)
    set(flags -fsanitize=address,undefined -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    target_compile_options(${target} PRIVATE ${flags})
    target_link_options(${target} PRIVATE ${flags})
  endif()
  if(ZOR_COVERAGE)
    target_compile_options(${target} PRIVATE --coverage -O0)
    target_link_options(${target} PRIVATE --coverage)
    get_target_property(type ${target} TYPE)
    if(type STREQUAL "EXECUTABLE")
      target_link_libraries(${target} PRIVATE testkit_counters)
    endif()
  endif()
endfunction()

# zor_floor(NAME [DEPENDS lib...] [LIBRARIES lib...]): a static library of all sources below NAME/src and
# NAME/unix/src, with NAME/include as its public face and NAME/src for itself and its tests. Every public header
# is compiled alone by the target all_verify_interface_header_sets.
function(zor_floor name)
  cmake_parse_arguments(arg "" "" "DEPENDS;LIBRARIES" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS
    ${PROJECT_SOURCE_DIR}/${name}/src/*.cpp ${PROJECT_SOURCE_DIR}/${name}/unix/src/*.cpp)
  set(${name}_sources ${sources} PARENT_SCOPE)
  list(FILTER sources EXCLUDE REGEX "src/whbootfw/hooks[.]cpp$")
  file(GLOB headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${name}/include/*.h)
  add_library(${name} STATIC ${sources})
  zor_options(${name})
  target_sources(${name} PUBLIC FILE_SET HEADERS
    BASE_DIRS ${PROJECT_SOURCE_DIR}/${name}/include FILES ${headers})
  set_target_properties(${name} PROPERTIES LINKER_LANGUAGE CXX VERIFY_INTERFACE_HEADER_SETS ON)
  target_include_directories(${name} PRIVATE
    ${PROJECT_SOURCE_DIR}/${name}/src ${PROJECT_SOURCE_DIR}/${name}/unix/src)
  target_link_libraries(${name} PUBLIC ${arg_DEPENDS} PRIVATE ${arg_LIBRARIES})
endfunction()

# zor_test(NAME): the floor's test program. It links its own floor and those below, so an upward call is a link
# error; it reaches the floor's private headers.
function(zor_test name)
  file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${name}/test/*.cpp)
  if(NOT sources)
    return()
  endif()
  add_executable(${name}_test ${sources})
  zor_test_options(${name}_test)
  target_include_directories(${name}_test PRIVATE
    ${PROJECT_SOURCE_DIR}/${name}/src ${PROJECT_SOURCE_DIR}/${name}/unix/src)
  # All of testkit, so that its hooks are there for the standard floor, whether a test names them or not.
  target_link_libraries(${name}_test PRIVATE
    $<LINK_LIBRARY:WHOLE_ARCHIVE,testkit> ${name} GTest::gtest)
  if(name STREQUAL "wh")
    target_link_libraries(${name}_test PRIVATE vqnexpat)
    # Only the one that looks at the schemas, so that the others compile alike in every directory.
    set_source_files_properties(wh/test/schemas_test.cpp PROPERTIES
      COMPILE_DEFINITIONS ZOR_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
    # The plain model's patterns and tables are compared with the library's.
    target_sources(${name}_test PRIVATE ${PROJECT_SOURCE_DIR}/test/model/words.cpp)
    target_include_directories(${name}_test PRIVATE ${PROJECT_SOURCE_DIR}/test)
  endif()
  if(name MATCHES "^(standard|fwos|wh)$")
    target_link_libraries(${name}_test PRIVATE testkit_calls)
  endif()
  add_test(NAME ${name} COMMAND ${name}_test)
  zor_test_environment(${name})
  # The same under the memory manager's checks, which also find what a test leaves allocated. The costs of a block
  # grow with their number, so tests with very many are left out; failure sweeps boot a framework of their own.
  if(NOT name STREQUAL "standard")
    add_test(NAME ${name}_checked COMMAND ${name}_test --debug-level=2
      --gtest_filter=-*LittleTime:*.AChainOf*:*LongChain*:*HundredThousand*:*OfAnyLength*:*DeathTest*:Faults*)
    zor_test_environment(${name}_checked)
  endif()
endfunction()

# The tool with faults: its objects, called again and again from one process.
function(zor_tool_faults)
  file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/test/faults/*.cpp)
  add_executable(zorenv_faults ${sources})
  zor_test_options(zorenv_faults)
  target_link_libraries(zorenv_faults PRIVATE tool wh_hooks testkit_calls testkit_malloc)
  # It brings an allocator of its own, which goes before the sanitizer's only if that one is a library.
  if(ZOR_SANITIZE AND CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-resource-dir
      OUTPUT_VARIABLE directory OUTPUT_STRIP_TRAILING_WHITESPACE)
    target_link_options(zorenv_faults PRIVATE -shared-libasan -Wl,-rpath,${directory}/lib/linux)
  endif()
endfunction()

# The tool on another platform, which has areas of environments: its objects, with a platform's half of their own in
# the place of the library's.
function(zor_tool_areas)
  file(GLOB sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/test/areas/*.cpp)
  add_executable(areas_test ${sources} ${PROJECT_SOURCE_DIR}/test/tool.cpp)
  zor_test_options(areas_test)
  target_compile_definitions(areas_test PRIVATE ZORENV_PROGRAM="$<TARGET_FILE:zorenv>")
  target_include_directories(areas_test PRIVATE ${PROJECT_SOURCE_DIR}/test)
  target_link_libraries(areas_test PRIVATE tool wh_hooks testkit_process testkit_faults GTest::gtest)
  add_test(NAME areas COMMAND areas_test)
  zor_test_environment(areas)
endfunction()

# The whole-process tests run the built tool and the example; they link none of them.
function(zor_tool_test)
  file(GLOB sources CONFIGURE_DEPENDS
    ${PROJECT_SOURCE_DIR}/test/*.cpp ${PROJECT_SOURCE_DIR}/test/model/*.cpp)
  if(NOT sources)
    return()
  endif()
  add_executable(zorenv_test ${sources})
  zor_test_options(zorenv_test)
  target_compile_definitions(zorenv_test PRIVATE
    ZORENV_PROGRAM="$<TARGET_FILE:zorenv>" ZORENV_FAULTS_PROGRAM="$<TARGET_FILE:zorenv_faults>"
    GREET_PROGRAM="$<TARGET_FILE:greet>" ZOR_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
  target_include_directories(zorenv_test PRIVATE ${PROJECT_SOURCE_DIR}/test)
  target_link_libraries(zorenv_test PRIVATE testkit_process testkit_faults GTest::gtest)
  add_dependencies(zorenv_test zorenv zorenv_faults greet)
  add_test(NAME zorenv COMMAND zorenv_test)
  zor_test_environment(zorenv)
endfunction()

function(zor_test_environment name)
  set_tests_properties(${name} PROPERTIES TIMEOUT 900 ENVIRONMENT
    "LC_ALL=C.UTF-8;ASAN_OPTIONS=abort_on_error=0;UBSAN_OPTIONS=print_stacktrace=1;LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tools/leaks.supp:print_suppressions=0")
endfunction()
