# What "cmake --install" and "cpack -G DEB" put where. The engine reads its files in the
# folder it runs in, so the program itself goes out of sight, and what the player calls is a
# launcher that makes the player's own game folder. Components: engine, data, bridge, tool,
# doc. Files of a program that this build leaves out are left out too.
#
# The rules name the programs, the book and the tables that a build of all targets makes.
set(CMAKE_INSTALL_DOCDIR share/doc/veltramox CACHE PATH "Documentation")
include(GNUInstallDirs)
set(VELTRAMOX_GAMES_DIR games CACHE PATH "Where players find programs, as Debian has it")

set(programs_dir ${CMAKE_INSTALL_LIBEXECDIR}/veltramox)
set(data_dir ${CMAKE_INSTALL_DATADIR}/games/veltramox)
set(plugin_dir ${CMAKE_INSTALL_DATADIR}/games/plugins/xboard)

# The way from one installed directory to another stays the same wherever the whole goes.
function(way_from_games result directory)
  cmake_path(ABSOLUTE_PATH VELTRAMOX_GAMES_DIR BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}
    OUTPUT_VARIABLE from)
  cmake_path(ABSOLUTE_PATH directory BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}
    OUTPUT_VARIABLE to)
  file(RELATIVE_PATH way ${from} ${to})
  set(${result} ${way} PARENT_SCOPE)
endfunction()
way_from_games(programs_from_games ${programs_dir})
way_from_games(data_from_games ${data_dir})
way_from_games(tool_from_games ${CMAKE_INSTALL_BINDIR}/veltramox-tool)

# install_launcher(PROGRAM COMPONENT [ARGUMENTS]): a launcher named as the program.
function(install_launcher launched component)
  set(launched_arguments "${ARGN}")
  configure_file(data/launcher.in launchers/${launched} @ONLY)
  install(PROGRAMS ${CMAKE_BINARY_DIR}/launchers/${launched}
    DESTINATION ${VELTRAMOX_GAMES_DIR} COMPONENT ${component})
endfunction()

# ---- Manual pages and the list of changes, compressed as Debian wants them ----
find_program(GZIP gzip REQUIRED)
set(compressed_files)
function(compress_file source name)
  set(output ${CMAKE_BINARY_DIR}/compressed/${name}.gz)
  add_custom_command(OUTPUT ${output}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/compressed
    COMMAND ${GZIP} -9nc ${PROJECT_SOURCE_DIR}/${source} > ${output}
    DEPENDS ${PROJECT_SOURCE_DIR}/${source}
    COMMENT "Compressing ${source}"
    VERBATIM)
  set(compressed_files ${compressed_files} ${output} PARENT_SCOPE)
endfunction()
function(install_man page component)
  string(REGEX REPLACE ".*\\." "" section ${page})
  install(FILES ${CMAKE_BINARY_DIR}/compressed/${page}.gz
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT ${component})
endfunction()

# ---- The engine ----
install(TARGETS veltramox RUNTIME DESTINATION ${programs_dir} COMPONENT engine)
install(PROGRAMS tools/start.sh DESTINATION ${programs_dir} RENAME start COMPONENT engine)
install_launcher(veltramox engine)
compress_file(docs/man/veltramox.6 veltramox.6)
install_man(veltramox.6 engine)

# ---- What a game folder begins with: settings, and book and tables where they are made ----
file(READ data/Veltramox.ini settings)
if(TARGET three-men-tables)
  string(REPLACE "\nEGTBPath=\n"
    "\n; \"tables\" in the game folder leads to the tables of three men that came with it.\nEGTBPath=tables\n"
    settings "${settings}")
  install(DIRECTORY ${CMAKE_BINARY_DIR}/tables DESTINATION ${data_dir} COMPONENT data)
else()
  # The line that says that there are none would keep the engine out of xboard.
  string(REPLACE "\nUseEGTB=on\n" "\nUseEGTB=off\n" settings "${settings}")
endif()
file(CONFIGURE OUTPUT Veltramox.ini CONTENT "${settings}" @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/Veltramox.ini DESTINATION ${data_dir} COMPONENT data)
if(TARGET default-book)
  install(FILES ${CMAKE_BINARY_DIR}/Book.vlx DESTINATION ${data_dir} COMPONENT data)
endif()

# ---- veltramox-tool ----
if(TARGET veltramox-tool)
  install(TARGETS veltramox-tool
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
  compress_file(docs/man/veltramox-tool.1 veltramox-tool.1)
  install_man(veltramox-tool.1 tool)
endif()

# ---- The bridge, which starts the engine beside itself, and what xboard finds ----
set(plugin_command veltramox)
if(TARGET veltramox-bridge)
  set(plugin_command veltramox-bridge)
  install(TARGETS veltramox-bridge RUNTIME DESTINATION ${programs_dir} COMPONENT bridge)
  install_launcher(veltramox-bridge bridge "--game . ")
  compress_file(docs/man/veltramox-bridge.6 veltramox-bridge.6)
  install_man(veltramox-bridge.6 bridge)
endif()
configure_file(data/veltramox.eng.in veltramox.eng @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/veltramox.eng DESTINATION ${plugin_dir} COMPONENT engine)
# xboard takes up engines whose description is newer than the player's settings.
cmake_path(ABSOLUTE_PATH plugin_dir BASE_DIRECTORY "\${CMAKE_INSTALL_PREFIX}"
  OUTPUT_VARIABLE plugin_path)
install(CODE "file(TOUCH \"\$ENV{DESTDIR}${plugin_path}/veltramox.eng\")" COMPONENT engine)

# ---- Documents ----
compress_file(data/debian/changelog changelog)
install(FILES README.md CHANGELOG.md data/debian/copyright
  ${CMAKE_BINARY_DIR}/compressed/changelog.gz
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT doc)
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs COMPONENT doc
  PATTERN man EXCLUDE)
add_custom_target(veltramox-compressed ALL DEPENDS ${compressed_files})

# ---- Package ----
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME veltramox)
set(CPACK_PACKAGE_CONTACT "Veltramox maintainers <maintainers@veltramox.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "chess engine for xboard and the console")
set(CPACK_PACKAGE_DESCRIPTION
"Veltramox plays chess for a graphical front end that speaks the xboard
protocol, or at the console. It has an opening book that learns from its
games, reads endgame tables and thinks on the opponent's time.
.
veltramox-tool makes and inspects opening books, learning files and endgame
tables.
.
The programs need a processor with the popcnt instruction (x86-64-v2).")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION games)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS xboard)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/data/debian/postinst)
include(CPack)
