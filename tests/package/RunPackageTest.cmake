# Installs a build into a fresh prefix, moves the prefix, and builds and runs the outside project
# against it: nothing may need the build folder or know the first prefix.
function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT status EQUAL 0)
        list(JOIN ARGN " " command)
        message(FATAL_ERROR "${command}\nended with ${status}:\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${WORK}/first ${WORK}/prefix ${WORK}/outside ${WORK}/plugin)
run(${CMAKE_COMMAND} --install ${BUILD} --prefix ${WORK}/first)
file(RENAME ${WORK}/first ${WORK}/prefix)

run(${CMAKE_COMMAND} -S ${OUTSIDE} -B ${WORK}/outside -G ${GENERATOR}
    -DCMAKE_MAKE_PROGRAM=${MAKE_PROGRAM} -DCMAKE_CXX_COMPILER=${COMPILER}
    -DCMAKE_CXX_FLAGS=${FLAGS} -DCMAKE_PREFIX_PATH=${WORK}/prefix
    -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF -DEXAMPLES=${EXAMPLES})
file(STRINGS ${WORK}/outside/CMakeCache.txt found REGEX "^Orvane_DIR:")
string(FIND "${found}" "${WORK}/prefix/" position)
if(position EQUAL -1)
    message(FATAL_ERROR "Another Orvane than the installed one was found: ${found}")
endif()
run(${CMAKE_COMMAND} --build ${WORK}/outside)
run(${WORK}/outside/outside_host ${WORK}/prefix/${LIBDIR}/orvane/AsciiReader.so ${DATA})
if(NOT output STREQUAL "own layer: 1 feature\nread layer: earthquakes, 1197 features\n")
    message(FATAL_ERROR "The outside program printed:\n${output}")
endif()

# The example of a plug-in, built against the installation alone.
run(${CMAKE_COMMAND} -S ${PLUGIN} -B ${WORK}/plugin -G ${GENERATOR}
    -DCMAKE_MAKE_PROGRAM=${MAKE_PROGRAM} -DCMAKE_CXX_COMPILER=${COMPILER}
    -DCMAKE_CXX_FLAGS=${FLAGS} -DCMAKE_PREFIX_PATH=${WORK}/prefix
    -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF)
run(${CMAKE_COMMAND} --build ${WORK}/plugin)
if(EXISTS ${WORK}/prefix/bin/orvane)
    file(COPY ${WORK}/plugin/MarksReader.so DESTINATION ${WORK}/prefix/${LIBDIR}/orvane)
    run(${WORK}/prefix/bin/orvane read ${PLUGIN}/data/harbour.marks --json)
    if(NOT output MATCHES "\"St-Katharinen\",\"geometry\":\\[565320,5933655.75,8.25\\]")
        message(FATAL_ERROR "The installed program read with the plug-in:\n${output}")
    endif()
endif()

# Programs and modules of another minor version never load the library, nor does a package find it.
if(NOT EXISTS ${WORK}/prefix/${LIBDIR}/liborvanesdk.so.${SOVERSION})
    message(FATAL_ERROR "There is no liborvanesdk.so.${SOVERSION}.")
endif()

# The installed import library finds the installed plug-in by itself, whatever the program's place.
run(${WORK}/outside/import_file ${DATA} ${WORK}/outside/out.gpkg EPSG:4326)
if(NOT output STREQUAL "1197 rows, 1197 points\n")
    message(FATAL_ERROR "The outside import printed:\n${output}")
endif()

# The installed command line finds the installed plug-in by itself.
if(EXISTS ${WORK}/prefix/bin/orvane)
    run(${WORK}/prefix/bin/orvane read ${DATA} --option MAX_RECORDS=1 --json)
    if(NOT output MATCHES "^{\"ok\":true,")
        message(FATAL_ERROR "The installed program printed:\n${output}")
    endif()
endif()
