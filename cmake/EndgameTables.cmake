# Adds the constant endgame tables to veltramox-core: a program of the tree solves them in
# about a second and writes them as C++ source into the build folder. When cross compiling,
# name a generator that runs on this machine, from a native build:
#   -DVELTRAMOX_TABLE_GENERATOR=build/release/endgame_tables
set(VELTRAMOX_TABLE_GENERATOR "" CACHE FILEPATH
  "An endgame_tables that runs on this machine; empty: build it")

if(VELTRAMOX_TABLE_GENERATOR)
  get_filename_component(table_generator "${VELTRAMOX_TABLE_GENERATOR}" ABSOLUTE)
elseif(CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
  message(FATAL_ERROR
    "Cross compiling needs VELTRAMOX_TABLE_GENERATOR or CMAKE_CROSSCOMPILING_EMULATOR")
else()
  add_executable(endgame_tables ${PROJECT_SOURCE_DIR}/tools/endgame_tables.cpp)
  target_link_libraries(endgame_tables PRIVATE veltramox-options)
  target_compile_options(endgame_tables PRIVATE -O2)  # in the slow presets too
  set_target_properties(endgame_tables PROPERTIES
    INTERPROCEDURAL_OPTIMIZATION OFF RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
  set(table_generator endgame_tables)
endif()

set(table_source ${PROJECT_BINARY_DIR}/generated/endgametables.cpp)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/generated)
add_custom_command(OUTPUT ${table_source}
  COMMAND ${table_generator} ${table_source}
  DEPENDS ${table_generator}
  COMMENT "Solving the endgame tables"
  VERBATIM)
target_sources(veltramox-core PRIVATE ${table_source})
