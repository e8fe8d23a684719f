# Finds an include folder for the Boost headers from a folder a user named.
# Used by the build and, installed beside OstraFoundationConfig.cmake, by
# the package, so both read such a folder the same way.

# ostra_boost_include_dir(<root> <link folder> <out var>)
# <root> holds boost/ (the usual Boost root) or is the boost folder itself,
# holding shared_ptr.hpp. <out var> becomes <link folder>, holding only a
# link boost to it, so that nothing else beside the boost folder (say the
# rest of /usr/include, which a cross compiler must never search) reaches
# the compiler. Where no link can be made (Windows without the right to),
# a <root> holding boost/ serves as it is. <out var> is empty when <root>
# holds no Boost or cannot serve.
function(ostra_boost_include_dir root link_folder out_var)
  set(result "")
  if(EXISTS "${root}/boost/shared_ptr.hpp")
    set(boost "${root}/boost")
  elseif(EXISTS "${root}/shared_ptr.hpp")
    set(boost "${root}")
  else()
    set(${out_var} "" PARENT_SCOPE)
    return()
  endif()
  set(link "${link_folder}/boost")
  file(REAL_PATH "${boost}" target)
  if(IS_SYMLINK "${link}")
    file(READ_SYMLINK "${link}" current)
    if(NOT current STREQUAL target)
      file(REMOVE "${link}")
    endif()
  endif()
  if(NOT EXISTS "${link}")
    file(MAKE_DIRECTORY "${link_folder}")
    file(CREATE_LINK "${target}" "${link}" RESULT failed SYMBOLIC)
  endif()
  if(EXISTS "${link}/shared_ptr.hpp")
    set(result "${link_folder}")
  elseif(NOT boost STREQUAL root)
    set(result "${root}")
  endif()
  set(${out_var} "${result}" PARENT_SCOPE)
endfunction()
