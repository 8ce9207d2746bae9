# Fails when a source folder includes a folder it must not depend on. The
# folders form a stack: app -> extension -> mods/styles -> the adjustment
# families -> mods/common -> mods (filter model, renderer) -> imaging -> core.
# A family never includes a sibling family: what two families share lives in
# mods/common. The styles are the one layer that composes the adjustment
# families (each style runs them as steps of its look).
#
# Run with: cmake -DSOURCE_DIR=<top of the source tree> -P CheckLayering.cmake

set(adjustment_families basic curves colour mono output)

# The folders a folder may include from, itself included.
set(allowed_core core)
set(allowed_imaging core imaging)
set(allowed_mods core imaging mods)
set(allowed_mods/common core imaging mods mods/common)
foreach(family IN LISTS adjustment_families)
  set(allowed_mods/${family} core imaging mods mods/common mods/${family})
endforeach()
set(allowed_mods/styles core imaging mods mods/common mods/styles)
foreach(family IN LISTS adjustment_families)
  list(APPEND allowed_mods/styles mods/${family})
endforeach()

# The layer a path belongs to: "mods/<family>" inside a family folder, else
# its top folder.
function(layer_of path out)
  string(REGEX MATCH "^mods/[^/]+/" family "${path}")
  if(family)
    string(REGEX REPLACE "/$" "" family "${family}")
    set(${out} "${family}" PARENT_SCOPE)
  else()
    string(REGEX MATCH "^[^/]+" top "${path}")
    set(${out} "${top}" PARENT_SCOPE)
  endif()
endfunction()

file(GLOB_RECURSE sources RELATIVE "${SOURCE_DIR}"
  "${SOURCE_DIR}/core/*.h" "${SOURCE_DIR}/core/*.cpp"
  "${SOURCE_DIR}/imaging/*.h" "${SOURCE_DIR}/imaging/*.cpp"
  "${SOURCE_DIR}/mods/*.h" "${SOURCE_DIR}/mods/*.cpp")

set(violations "")
foreach(source IN LISTS sources)
  layer_of("${source}" from)
  if(NOT DEFINED allowed_${from})
    string(APPEND violations "\n  ${source}: folder ${from} has no place in the stack")
    continue()
  endif()
  file(STRINGS "${SOURCE_DIR}/${source}" includes REGEX "^[ \t]*#[ \t]*include[ \t]*\"")
  foreach(line IN LISTS includes)
    string(REGEX REPLACE "^[^\"]*\"([^\"]*)\".*$" "\\1" target "${line}")
    if(NOT target MATCHES "/")
      continue() # a file beside this one
    endif()
    layer_of("${target}" to)
    list(FIND allowed_${from} "${to}" found)
    if(found EQUAL -1)
      string(APPEND violations "\n  ${source} includes ${target} (${from} may not depend on ${to})")
    endif()
  endforeach()
endforeach()

if(violations)
  message(FATAL_ERROR "The source folders no longer form a stack:${violations}")
endif()
list(LENGTH sources checked)
message(STATUS "${checked} engine files checked: the folders form a stack")
