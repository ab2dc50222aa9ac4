# cmake -DLIBRARY=... -DHEADER=... -DNAMES=... -DNM=... -DOBJDUMP=... -P check_exports.cmake
#   The library exports exactly what its header declares, functions as code and integers as data, and the functions are
#   those of the interface.
#   A DLL is listed with objdump, since nm does not show a PE file's export table.
cmake_minimum_required(VERSION 3.24)

function(run_lister output)
  execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE text ERROR_VARIABLE complaint RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${ARGN}: ${result} ${complaint}")
  endif()
  set(${output} "${text}" PARENT_SCOPE)
endfunction()

function(exported_by_dll output)
  run_lister(text ${OBJDUMP} -p ${LIBRARY})
  string(REGEX REPLACE "^.*\\[Ordinal/Name Pointer\\] Table[^\n]*\n" "" text "${text}")
  string(REGEX REPLACE "\n\n.*$" "" text "${text}")
  # The name ends each line; brackets before it would keep CMake from splitting the list.
  string(REGEX MATCHALL "[A-Za-z_][A-Za-z0-9_]*\r?\n" rows "${text}\n")
  list(TRANSFORM rows STRIP)
  set(${output} "${rows}" PARENT_SCOPE)
endfunction()

function(exported_by_shared_object output)
  run_lister(text ${NM} -D --defined-only ${LIBRARY})
  string(REGEX MATCHALL "[0-9a-f]+ [A-Za-z] [^\n]+" rows "${text}")
  list(TRANSFORM rows REPLACE "^[0-9a-f]+ [A-Za-z] " "")
  list(TRANSFORM rows REPLACE "@.*$" "")
  set(${output} "${rows}" PARENT_SCOPE)
endfunction()

# Everything that the symbol table has in sections of one of the `kinds` (nm's letters) and that looks like ours.
function(symbols_of_kind output kinds)
  run_lister(text ${NM} ${ARGN} --defined-only ${LIBRARY})
  string(REGEX MATCHALL " [${kinds}] [A-Za-z_][A-Za-z0-9_@]*\r?\n" rows "${text}\n")
  list(TRANSFORM rows STRIP)
  list(TRANSFORM rows REPLACE "^[${kinds}] " "")
  list(TRANSFORM rows REPLACE "@.*$" "")
  list(FILTER rows INCLUDE REGEX "^(qmio_|imio_|AV_PIX_FMT_)")
  set(${output} "${rows}" PARENT_SCOPE)
endfunction()

function(declared_in_header functions data)
  file(READ ${HEADER} text)
  string(REGEX REPLACE "/\\*([^*]|\\*+[^*/])*\\*+/" "" text "${text}")
  string(REGEX MATCHALL "(qmio|imio)_[A-Za-z0-9_]+\\(" names "${text}")
  list(TRANSFORM names REPLACE "\\($" "")
  string(REGEX MATCHALL "AV_PIX_FMT_[A-Z0-9]+" items "${text}")
  set(${functions} "${names}" PARENT_SCOPE)
  set(${data} "${items}" PARENT_SCOPE)
endfunction()

function(expect_none what)
  if(ARGN)
    list(JOIN ARGN "\n  " names)
    message(SEND_ERROR "${what}:\n  ${names}")
  endif()
endfunction()

if(LIBRARY MATCHES "\\.dll$")
  exported_by_dll(exported)
  symbols_of_kind(code "T")
  symbols_of_kind(variables "BDR")
else()
  exported_by_shared_object(exported)
  symbols_of_kind(code "T" -D)
  symbols_of_kind(variables "BDR" -D)
endif()
declared_in_header(functions data)
list(REMOVE_DUPLICATES functions)
list(REMOVE_DUPLICATES data)
file(STRINGS ${NAMES} interface REGEX "^[a-z]")

list(LENGTH data data_count)
if(NOT data_count EQUAL 18)
  message(SEND_ERROR "the header declares ${data_count} integers, not 18")
endif()

set(undeclared ${exported})
list(REMOVE_ITEM undeclared ${functions} ${data})
expect_none("exported but not declared" ${undeclared})

set(missing ${functions} ${data})
list(REMOVE_ITEM missing ${exported})
expect_none("declared but not exported" ${missing})

set(not_code ${functions})
list(REMOVE_ITEM not_code ${code})
expect_none("functions that are not exported as code" ${not_code})

set(not_data ${data})
list(REMOVE_ITEM not_data ${variables})
expect_none("integers that are not exported as data" ${not_data})

set(unknown ${functions})
list(REMOVE_ITEM unknown ${interface})
expect_none("declared but no name of the interface" ${unknown})

set(absent ${interface})
list(REMOVE_ITEM absent ${exported})
expect_none("names of the interface that are not exported" ${absent})
