# The one target that carries every warning; all of them are errors.
add_library(tarnwell_warnings INTERFACE)
target_compile_options(tarnwell_warnings INTERFACE
    -Wall -Wextra -Wpedantic       # the usual suspects
    -Wshadow                       # a hidden variable is a misread variable
    -Wnon-virtual-dtor             # owners are unique_ptr to bases
    -Woverloaded-virtual           # an override that overrides nothing
    -Wold-style-cast               # casts must say which kind they are
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict> # GCC 12 at -O2 and above warns falsely of text = "literal" (its bug 105329)
    -Werror)
target_compile_definitions(tarnwell_warnings INTERFACE
    QT_NO_KEYWORDS QT_NO_CAST_TO_ASCII QT_NO_FOREACH QT_DISABLE_DEPRECATED_BEFORE=0x060200)
