# Shared settings for every target of the project.
function(lumo_target_defaults target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow
                                             -Wnon-virtual-dtor -Wold-style-cast)
    if(LUMO_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
    target_compile_definitions(${target} PRIVATE QT_NO_CAST_FROM_ASCII QT_NO_KEYWORDS
                                                 QT_NO_URL_CAST_FROM_STRING)
endfunction()

# A Qt Test suite: one executable per file, run by CTest without a display.
function(lumo_add_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    lumo_target_defaults(${name})
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/tests")
    target_link_libraries(${name} PRIVATE Qt6::Test ${ARG_LIBS})
    target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/tests")
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES
        ENVIRONMENT "QT_QPA_PLATFORM=offscreen;LUMO_DATA_DIR=${LUMO_BUILD_DATA_DIR};QTWEBENGINE_DISABLE_SANDBOX=1;QTWEBENGINE_CHROMIUM_FLAGS=--disable-gpu"
        TIMEOUT 120)
endfunction()

# A library of one subsystem. Besides the library, builds an executable from every
# object of it and only the libraries it declares, so that a call into a subsystem it
# does not link (a dependency circle, or a step up the order in docs/ARCHITECTURE.md)
# fails the build with an undefined reference instead of linking by luck of the order.
function(lumo_library target)
    lumo_target_defaults(${target})
    target_include_directories(${target} PUBLIC "${PROJECT_SOURCE_DIR}/src")
    if(LUMO_LIBFUZZER)
        return()
    endif()
    add_executable(${target}_links "${PROJECT_SOURCE_DIR}/cmake/LinkCheck.cpp")
    set_target_properties(${target}_links PROPERTIES
        RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/linkcheck")
    target_link_libraries(${target}_links PRIVATE "$<LINK_LIBRARY:WHOLE_ARCHIVE,${target}>")
endfunction()
