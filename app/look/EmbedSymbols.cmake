# Writes the symbols, a list of .svg files, as the constants that SymbolTable.h declares.
set(source "// Made by the build from the symbols.\n#include \"app/look/SymbolTable.h\"\n\n")
string(APPEND source "namespace velmoran {\n\nstd::span<const SymbolEntry> symbolTable() {\n"
                     "    static constexpr SymbolEntry table[] = {\n")
foreach(file IN LISTS SYMBOLS)
    get_filename_component(name ${file} NAME_WE)
    file(READ ${file} svg)
    string(APPEND source "        {\"${name}\", R\"svg(${svg})svg\"},\n")
endforeach()
string(APPEND source "    };\n    return table;\n}\n\n} // namespace velmoran\n")
file(WRITE ${TABLE} "${source}")
