# Checks the export table of a built HVqbrkCn.dll: the seventeen names with their ordinals
# (base 1), and imports from system libraries only.
#   cmake -DDLL=path -DOBJDUMP=objdump -P check_dll_exports.cmake
set(expected
  "1 qbrkChangeLocalMirrorPath" "2 qbrkChckStartUpSynchro" "3 qbrkDeleteAllSeverFile"
  "4 qbrkDeleteTableFile" "5 qbrkGetMirrorFolderPathEx" "6 qbrkMsgBox" "7 qbrkOnDestroy"
  "8 qbrkOnInit" "9 qbrkOpenDiskSpaceDlg" "10 qbrkOpenOptionDlg" "11 qbrkOpenSyncListDlg"
  "12 qbrkPublishFolder" "13 qbrkSeparateFileTransfer" "14 qbrkSynchronize" "15 qbrkUpdate"
  "16 qbrkViewHomePage" "17 qbrkGetMirrorFolderPath")

execute_process(COMMAND ${OBJDUMP} -p ${DLL} OUTPUT_VARIABLE dump RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "objdump failed on ${DLL}")
endif()
string(REPLACE "\n" ";" lines "${dump}")

set(base "")
set(found "")
set(imports "")
set(in_table FALSE)
foreach(line IN LISTS lines)
  if(line MATCHES "^Ordinal Base[ \t]+([0-9]+)")
    set(base ${CMAKE_MATCH_1})
  elseif(line MATCHES "^\\[Ordinal/Name Pointer\\] Table")
    set(in_table TRUE)
  elseif(in_table AND line MATCHES "^[ \t]*\\[ *[0-9]+\\] ")
    # Both binutils forms: "[   0] name" and "[   0] +base[   1] 0000 name".
    if(line MATCHES "\\+base\\[ *([0-9]+)\\] +[0-9a-fA-F]+ +([A-Za-z0-9_]+)")
      list(APPEND found "${CMAKE_MATCH_1} ${CMAKE_MATCH_2}")
    elseif(line MATCHES "^[ \t]*\\[ *([0-9]+)\\] +([A-Za-z0-9_]+)")
      math(EXPR ordinal "${CMAKE_MATCH_1} + 1")
      list(APPEND found "${ordinal} ${CMAKE_MATCH_2}")
    endif()
  elseif(in_table AND NOT line MATCHES "^[ \t]*$")
    set(in_table FALSE)
  endif()
  if(line MATCHES "^[ \t]*DLL Name: (.+)$")
    list(APPEND imports "${CMAKE_MATCH_1}")
  endif()
endforeach()

if(NOT base STREQUAL "1")
  message(FATAL_ERROR "ordinal base is '${base}', expected 1")
endif()
list(SORT found)
set(sorted_expected ${expected})
list(SORT sorted_expected)
if(NOT found STREQUAL sorted_expected)
  message(FATAL_ERROR "exports differ\n  found:    ${found}\n  expected: ${sorted_expected}")
endif()
foreach(dll IN LISTS imports)
  string(TOLOWER "${dll}" lower)
  if(lower MATCHES "^lib|mingw|pthread|gcc|stdc\\+\\+")
    message(FATAL_ERROR "${DLL} imports the runtime DLL ${dll}; it must be linked statically")
  endif()
endforeach()
list(LENGTH found count)
message(STATUS "${DLL}: ${count} exports with ordinals 1..17; imports: ${imports}")
