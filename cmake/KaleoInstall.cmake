# Installs the libraries, the public headers, the resources, the command, and what CMake's find_package and pkg-config read.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(kaleo_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/kaleo)
set(kaleo_generated_dir ${PROJECT_BINARY_DIR}/package)
# From the pkg-config files up to the prefix, so that an installed tree can be moved.
file(RELATIVE_PATH kaleo_pc_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)

# kaleo_install_library(<target> <headers under include/>): one library with all that its users need.
function(kaleo_install_library target headers)
  install(TARGETS ${target} EXPORT ${target}-targets
          LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
          INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(EXPORT ${target}-targets NAMESPACE kaleo:: DESTINATION ${kaleo_package_dir})
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${target}.pc.in ${kaleo_generated_dir}/${target}.pc @ONLY)
  install(FILES ${kaleo_generated_dir}/${target}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()

if(NOT BUILD_SHARED_LIBS)
  list(JOIN KALEO_PKGCONFIG_MODULES " " kaleo_pc_requires)
  install(FILES ${PROJECT_SOURCE_DIR}/cmake/KaleoDependencies.cmake DESTINATION ${kaleo_package_dir})
endif()
kaleo_install_library(kaleo kaleo)
if(TARGET kaleo-qt)
  set_target_properties(kaleo-qt PROPERTIES INSTALL_RPATH "$ORIGIN")  # libkaleo lies beside it
  kaleo_install_library(kaleo-qt kaleo-qt)
endif()
if(TARGET kaleo-qt-web)
  kaleo_install_library(kaleo-qt-web kaleo-qt-web)
endif()
set_target_properties(kaleo-diagnosis PROPERTIES INSTALL_RPATH "$ORIGIN")
kaleo_install_library(kaleo-diagnosis kaleo-diagnosis)
if(TARGET kaleo-tool)
  install(TARGETS kaleo-tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  # The command itself says what the shell and the manual should know of it.
  foreach(page "completion bash" "completion zsh" "completion fish" manual)
    install(CODE "execute_process(COMMAND $<TARGET_FILE:kaleo-tool> ${page} OUTPUT_FILE \"${kaleo_generated_dir}/${page}\" COMMAND_ERROR_IS_FATAL ANY)")
  endforeach()
  install(FILES "${kaleo_generated_dir}/completion bash" DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME kaleo)
  install(FILES "${kaleo_generated_dir}/completion zsh" DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions RENAME _kaleo)
  install(FILES "${kaleo_generated_dir}/completion fish" DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d RENAME kaleo.fish)
  install(FILES ${kaleo_generated_dir}/manual DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 RENAME kaleo.1)
endif()
if(EXISTS ${PROJECT_SOURCE_DIR}/Resources/Kaleo.bundle)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/Resources/Kaleo.bundle DESTINATION ${CMAKE_INSTALL_DATADIR}/kaleo)
endif()

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/kaleo-config.cmake.in ${kaleo_generated_dir}/kaleo-config.cmake
                              INSTALL_DESTINATION ${kaleo_package_dir})
write_basic_package_version_file(${kaleo_generated_dir}/kaleo-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${kaleo_generated_dir}/kaleo-config.cmake ${kaleo_generated_dir}/kaleo-config-version.cmake
        DESTINATION ${kaleo_package_dir})
