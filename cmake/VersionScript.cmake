# Turns the list of exports into the linker's version script, with one version for all names:
#   cmake -DLIST=vrbase.def -DOUTPUT=vrbase.map -P VersionScript.cmake

file(STRINGS "${LIST}" lines REGEX "@[0-9]+")
set(names "")
foreach(line IN LISTS lines)
  string(REGEX MATCH "[A-Za-z0-9_]+" name "${line}")
  string(APPEND names "    ${name};\n")
endforeach()
file(WRITE "${OUTPUT}" "VRBASE_1 {\n  global:\n${names}  local:\n    *;\n};\n")
