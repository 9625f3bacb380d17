# tarnwell_library(core LIBRARIES Qt6::Core): library tarnwell_core from every source of this folder.
function(tarnwell_library room)
    cmake_parse_arguments(ARG "" "" "LIBRARIES" ${ARGN})
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS *.cpp *.h *.qrc)
    if(NOT sources)
        return()
    endif()
    add_library(tarnwell_${room} STATIC ${sources})
    target_include_directories(tarnwell_${room} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(tarnwell_${room} PUBLIC ${ARG_LIBRARIES} PRIVATE tarnwell_warnings)
    if(NOT room STREQUAL core)
        tarnwell_precompiled(tarnwell_${room})
    endif()
endfunction()

# tarnwell_precompiled(target): the headers that nearly every file of the windows reads, read once. A compiler cache
# keeps nothing across folders with them, so where one is used it does their work.
function(tarnwell_precompiled target)
    if(CMAKE_CXX_COMPILER_LAUNCHER)
        return()
    endif()
    # GCC 12 takes precompiled headers for the program's own, and at -O2 warns falsely of text = "literal" in them.
    target_compile_options(${target} PRIVATE
        $<$<CXX_COMPILER_ID:GNU>:-Wno-stringop-overflow>
        $<$<CXX_COMPILER_ID:GNU>:-Wno-array-bounds>)
    if(target STREQUAL tarnwell_controls)
        target_precompile_headers(${target} PRIVATE
            <QAction> <QApplication> <QDialog> <QJsonObject> <QLineEdit> <QMainWindow> <QPlainTextEdit> <QSettings>
            <QStringList> <QTableView> <QVBoxLayout>
            <algorithm> <array> <functional> <map> <memory> <optional> <set> <string> <variant> <vector>)
    else()
        target_precompile_headers(${target} REUSE_FROM tarnwell_controls)
    endif()
endfunction()

# tarnwell_tests(core): one ctest per test_*.cpp of tests/core, each a Qt test program of its own.
function(tarnwell_tests room)
    cmake_parse_arguments(ARG "" "" "LIBRARIES" ${ARGN})
    if(NOT TARGET tarnwell_${room})
        return()
    endif()
    file(GLOB tests CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${room}/test_*.cpp)
    foreach(test ${tests})
        get_filename_component(name ${test} NAME_WE)
        string(REPLACE "test_" "${room}_" name ${name})
        add_executable(${name} ${test})
        target_link_libraries(${name} PRIVATE tarnwell_${room} ${ARG_LIBRARIES} tarnwell_test_support
                              tarnwell_warnings)
        if(TARGET tarnwell_gui_test_support AND NOT room STREQUAL "core")
            target_link_libraries(${name} PRIVATE tarnwell_gui_test_support)
            tarnwell_precompiled(${name})
        endif()
        add_test(NAME ${name} COMMAND ${name})
        set_tests_properties(${name} PROPERTIES TIMEOUT 300
            ENVIRONMENT "QT_QPA_PLATFORM=offscreen;LC_ALL=C.UTF-8")
    endforeach()
endfunction()
