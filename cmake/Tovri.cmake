# One static library per folder: tovri_library(downloads LINKS tovri::service) takes the sources of the calling folder and of its
# FOLDERS. With FOLDERS it takes those of these folders below it too, which make one library with it.
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)

add_library(tovri_options INTERFACE)
target_compile_options(tovri_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Wold-style-cast
  -Woverloaded-virtual -Wextra-semi -Werror)
target_link_libraries(tovri_options INTERFACE Threads::Threads)

# Qt names libraries that only some of its users call; a package would depend on them.
add_link_options(-Wl,--as-needed)

set(TOVRI_SANITIZER "" CACHE STRING "Value of -fsanitize, empty for none")
if(TOVRI_SANITIZER)
  add_compile_options(-fsanitize=${TOVRI_SANITIZER} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_compile_options(-fsanitize-ignorelist=${CMAKE_CURRENT_LIST_DIR}/sanitizer-ignore.txt)
  add_link_options(-fsanitize=${TOVRI_SANITIZER})
else()
  # What makes a fault end the program instead of serving whoever sent the bytes. The package's test looks for it in the
  # built programs. The sanitizers have checks of their own, which these would hide.
  add_compile_options(-fstack-protector-strong -fcf-protection=full -ftrivial-auto-var-init=zero -fPIE
    -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3 -D_GLIBCXX_ASSERTIONS)
  add_link_options(-pie -Wl,-z,relro,-z,now,-z,noexecstack)
endif()

# The sources of the calling folder and of its FOLDERS.
function(tovri_sources result)
  set(patterns *.cpp *.h)
  foreach(folder ${ARGN})
    list(APPEND patterns ${folder}/*.cpp ${folder}/*.h)
  endforeach()
  file(GLOB sources CONFIGURE_DEPENDS ${patterns})
  set(${result} ${sources} PARENT_SCOPE)
endfunction()

function(tovri_library name)
  cmake_parse_arguments(arg "" "" "FOLDERS;LINKS" ${ARGN})
  tovri_sources(sources ${arg_FOLDERS})
  list(FILTER sources EXCLUDE REGEX "/main\\.cpp$")
  string(MAKE_C_IDENTIFIER ${name} id)
  set(target tovri_${id})
  if(NOT "${sources}" MATCHES "\\.cpp")
    add_library(${target} INTERFACE)
    target_include_directories(${target} INTERFACE ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${target} INTERFACE ${arg_LINKS})
    add_library(tovri::${id} ALIAS ${target})
    return()
  endif()
  add_library(${target} STATIC ${sources})
  set_target_properties(${target} PROPERTIES LINKER_LANGUAGE CXX OUTPUT_NAME tovri-${name})
  target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${target} PUBLIC ${arg_LINKS} PRIVATE tovri_options)
  add_library(tovri::${id} ALIAS ${target})
endfunction()

function(tovri_program name)
  cmake_parse_arguments(arg "" "" "SOURCES;LINKS" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LINKS} tovri_options)
endfunction()

add_custom_target(thread-tests)

# One test program per folder, which mirrors the folder of src/ that it tests: the sources of the calling folder and of its
# FOLDERS. With LABELS threads the thread sanitizer looks at it too; the target thread-tests builds only such programs.
function(tovri_test name)
  cmake_parse_arguments(arg "" "" "FOLDERS;LINKS;LABELS" ${ARGN})
  tovri_sources(sources ${arg_FOLDERS})
  add_executable(${name} ${sources})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/tests ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE ${arg_LINKS} tovri_options GTest::gtest GTest::gmock GTest::gtest_main)
  gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300 LABELS "${arg_LABELS}")
  if("threads" IN_LIST arg_LABELS)
    add_dependencies(thread-tests ${name})
  endif()
endfunction()
