# One layer of the library: an object library whose sources live in one folder of src/.
#
# Each layer compiles against an include root of its own, made in the build tree, that holds
# links to its own headers only (and to the public headers it introduces). A layer sees the
# roots of the layers it links, so an include that reaches up the stack finds no file and does
# not compile.
#
#   kolvane_layer(NAME core FOLDER core PUBLIC_HEADERS kolvane.h SOURCES ... LINKS kolvane_strings)
function(kolvane_layer)
  cmake_parse_arguments(LAYER "" "NAME;FOLDER" "PUBLIC_HEADERS;SOURCES;LINKS" ${ARGN})
  set(target kolvane_${LAYER_NAME})
  set(root ${PROJECT_BINARY_DIR}/layers/${LAYER_NAME})
  set(source_folder ${PROJECT_SOURCE_DIR}/src/${LAYER_FOLDER})

  file(REMOVE_RECURSE ${root})
  file(MAKE_DIRECTORY ${root}/${LAYER_FOLDER} ${root}/kolvane)
  file(GLOB headers CONFIGURE_DEPENDS ${source_folder}/*.h)
  foreach(header IN LISTS headers)
    get_filename_component(name ${header} NAME)
    file(CREATE_LINK ${header} ${root}/${LAYER_FOLDER}/${name} SYMBOLIC)
  endforeach()
  foreach(name IN LISTS LAYER_PUBLIC_HEADERS)
    file(CREATE_LINK ${PROJECT_SOURCE_DIR}/include/kolvane/${name} ${root}/kolvane/${name}
         SYMBOLIC)
  endforeach()

  list(TRANSFORM LAYER_SOURCES PREPEND ${source_folder}/)
  add_library(${target} OBJECT ${LAYER_SOURCES})
  target_include_directories(${target} PUBLIC $<BUILD_INTERFACE:${root}>)
  target_link_libraries(${target} PUBLIC ${LAYER_LINKS} PRIVATE kolvane_options)
  set_target_properties(${target} PROPERTIES
    POSITION_INDEPENDENT_CODE ON
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  target_compile_definitions(${target} PRIVATE KOLVANE_BUILDING_LIBRARY)
endfunction()

# The check that a layer defines what it uses: the layer and the layers below it linked as one
# shared library that may leave no symbol undefined, so that a function declared in a layer
# but defined in one above it fails the build. Part of every build but the sanitizer and fuzz
# ones, whose runtimes are resolved only by the final program.
function(kolvane_layer_link_check layer stack)
  if(KOLVANE_SANITIZE OR KOLVANE_FUZZ)
    return()
  endif()
  set(target kolvane_link_check_${layer})
  add_library(${target} SHARED)
  target_link_libraries(${target} PRIVATE ${stack})
  target_link_options(${target} PRIVATE LINKER:--no-undefined)
endfunction()
