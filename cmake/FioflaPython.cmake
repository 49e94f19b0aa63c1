# Finds what the Python package (python/) needs: an interpreter with NumPy, its development
# files and pybind11. Sets FIOFLA_PYTHON_FOUND; quiet when something is missing.
#
# Debian installs NumPy, pybind11 and pytest for its own interpreter; a pyenv or virtualenv
# python3 ahead of it on PATH usually has none of them, so the first interpreter that
# imports NumPy is taken unless Python3_EXECUTABLE is given.
set(FIOFLA_PYTHON_FOUND OFF)
if(NOT Python3_EXECUTABLE)
  find_program(_fiofla_path_python python3 NO_CACHE)
  foreach(candidate ${_fiofla_path_python} /usr/bin/python3)
    if(EXISTS "${candidate}")
      execute_process(COMMAND "${candidate}" -c "import numpy"
        RESULT_VARIABLE _fiofla_numpy OUTPUT_QUIET ERROR_QUIET)
      if(_fiofla_numpy EQUAL 0)
        set(Python3_EXECUTABLE "${candidate}" CACHE FILEPATH "Python for the fiofla package")
        break()
      endif()
    endif()
  endforeach()
endif()
if(Python3_EXECUTABLE)
  find_package(Python3 QUIET COMPONENTS Interpreter Development.Module)
  if(Python3_FOUND)
    set(PYBIND11_FINDPYTHON ON)
    find_package(pybind11 2.6 CONFIG QUIET)
    if(pybind11_FOUND)
      set(FIOFLA_PYTHON_FOUND ON)
    endif()
  endif()
endif()
