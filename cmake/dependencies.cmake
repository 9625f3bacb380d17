find_package(Qt6 6.2 REQUIRED COMPONENTS Charts Core Gui Sql Widgets Test)
find_package(ODBC REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(MARIADB REQUIRED IMPORTED_TARGET libmariadb)
find_package(ZLIB REQUIRED)

# QScintilla ships no CMake package of its own.
find_path(QSCINTILLA_INCLUDE Qsci/qsciscintilla.h
          HINTS ${Qt6Core_INCLUDE_DIRS} PATH_SUFFIXES qt6 REQUIRED)
find_library(QSCINTILLA_LIBRARY NAMES qscintilla2_qt6 REQUIRED)
add_library(QScintilla INTERFACE)
target_include_directories(QScintilla SYSTEM INTERFACE ${QSCINTILLA_INCLUDE})
target_link_libraries(QScintilla INTERFACE ${QSCINTILLA_LIBRARY} Qt6::Widgets)

# The desktop's key store, for passwords: optional, and a module of its own.
find_package(Qt6Keychain QUIET)
