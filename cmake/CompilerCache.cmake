# Uses ccache where it is installed.
find_program(KALEO_CCACHE ccache)
if(KALEO_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${KALEO_CCACHE})
endif()
