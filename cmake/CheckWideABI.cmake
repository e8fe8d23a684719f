# The Posix build makes wchar_t 16 bits wide (-fshort-wchar), while the C
# library's and the C++ library's compiled wide-character code counts in 32
# bits: a call into it that takes wide text through a pointer reads or
# writes past the string. (Functions of one character by value, such as
# towupper, see the same code point either way.) Fails when a native
# library or test object refers to any of it; GoogleTest's own objects are
# left out (their wide functions run only when a test hands them wide text).
#   cmake -DBUILD_DIR=<native build tree> -P CheckWideABI.cmake
set(forbidden
  "^(wcs|wmem|mbsto|mbsrto|mbsnrto|mbrto|mbtowc|wcrto|wctomb|swprintf|vswprintf|swscanf|vswscanf|fwprintf|vfwprintf|wprintf|vwprintf|fwscanf|wscanf|fgetws|fputws)"
  "std::char_traits<wchar_t>"
  "to_wstring"
  "testing::internal::(PrintTo\\(wchar_t const\\*|CmpHelperSTR(EQ|NE)\\(char const\\*, char const\\*, wchar_t|String::(ShowWideCString|WideCStringEquals|CaseInsensitiveWideCStringEquals))")
file(GLOB_RECURSE objects ${BUILD_DIR}/*.o ${BUILD_DIR}/lib/*.so)
list(FILTER objects EXCLUDE REGEX "/googletest/")
if(NOT objects)
  message(FATAL_ERROR "no objects under ${BUILD_DIR}")
endif()
set(found "")
foreach(object ${objects})
  execute_process(COMMAND nm -C --undefined-only --format=just-symbols ${object}
                  OUTPUT_VARIABLE symbols RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "nm failed on ${object}")
  endif()
  string(REPLACE "\n" ";" symbols "${symbols}")
  foreach(symbol ${symbols})
    foreach(pattern ${forbidden})
      if(symbol MATCHES "${pattern}")
        file(RELATIVE_PATH name ${BUILD_DIR} ${object})
        string(APPEND found "\n  ${name}: ${symbol}")
      endif()
    endforeach()
  endforeach()
endforeach()
list(LENGTH objects count)
if(found)
  message(FATAL_ERROR "32-bit wide-character code referred to:${found}")
endif()
message(STATUS "${count} objects refer to no 32-bit wide-character code")
