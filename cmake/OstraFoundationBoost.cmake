# Finds an include folder for the Boost headers from a folder a user named.
# Used by the build and, installed beside OstraFoundationConfig.cmake, by
# the package, so both read such a folder the same way.

# ostra_boost_include_dir(<root> <link folder> <out var>)
# <root> may hold boost/ (the usual Boost root; used as it is) or be the
# boost folder itself, holding shared_ptr.hpp. Its parent is then not used,
# since that may be /usr/include, which a cross compiler must never search;
# <link folder>/boost becomes a link to it instead. <out var> is empty when
# <root> is neither.
function(ostra_boost_include_dir root link_folder out_var)
  set(result "")
  if(EXISTS "${root}/boost/shared_ptr.hpp")
    set(result "${root}")
  elseif(EXISTS "${root}/shared_ptr.hpp")
    set(link "${link_folder}/boost")
    file(REAL_PATH "${root}" target)
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
    endif()
  endif()
  set(${out_var} "${result}" PARENT_SCOPE)
endfunction()
