# Run paths of installed programs and libraries.
#
# Installed programs find the framework's libraries through a run path relative to their
# own folder ($ORIGIN/../lib), and libPavoUI finds libPavoCore beside itself ($ORIGIN), so
# an installed tree works from any prefix and may be moved without LD_LIBRARY_PATH. The
# linker writes RUNPATH, which a library's own dependencies do not inherit from the
# program: that is why the libraries carry one of their own.
#
# A prefix whose library folder the dynamic linker searches anyway (/usr) gets no run path,
# so system installs and distribution packages stay clean.
if(CMAKE_SKIP_INSTALL_RPATH OR DEFINED CMAKE_INSTALL_RPATH)
  return() # the builder decides
endif()
set(PAVO_SYSTEM_LIBDIRS ${CMAKE_C_IMPLICIT_LINK_DIRECTORIES} ${CMAKE_CXX_IMPLICIT_LINK_DIRECTORIES}
    /lib /usr/lib /lib64 /usr/lib64)
if("${CMAKE_INSTALL_FULL_LIBDIR}" IN_LIST PAVO_SYSTEM_LIBDIRS)
  set(PAVO_LIBRARY_RUNPATH "")
  return()
endif()
file(RELATIVE_PATH pavo_bin_to_lib ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
# Every target installed to bin/ (the programs) takes this one.
set(CMAKE_INSTALL_RPATH "$ORIGIN/${pavo_bin_to_lib}")
# The libraries take this one (set in cmake/PavoInstall.cmake).
set(PAVO_LIBRARY_RUNPATH "$ORIGIN")
