# Generates small data sets, imports each through the module, and checks the number of rows.
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE errors)
    if(NOT status EQUAL 0)
        list(JOIN ARGN " " command)
        message(FATAL_ERROR "${command}\nended with ${status}: ${errors}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

# The data set, the line that the result must hold, then arguments of the generator before OPTIONS
# and reader options after it.
function(check dataset expected)
    cmake_parse_arguments(PARSE_ARGV 2 arg "" "" "GENERATOR;OPTIONS;FILES")
    run(${GENERATE} ${dataset} ${WORK}/${dataset}.csv ${arg_GENERATOR})
    set(files ${WORK}/${dataset}.csv)
    if(arg_FILES)
        list(TRANSFORM arg_FILES PREPEND ${WORK}/${dataset}.csv/ OUTPUT_VARIABLE files)
    endif()
    run(${IMPORT} ${MODULE} ${files} ${arg_OPTIONS})
    if(NOT "\n${output}" MATCHES "\n${expected}\n")
        message(FATAL_ERROR "${dataset}: no '${expected}' in:\n${output}")
    endif()
endfunction()

set(names FIRST_LINE_COLUMN_NAMES=true)
set(xy X_COLUMN=1 Y_COLUMN=2 ${names})
check(A "points 300" GENERATOR --rows 300 OPTIONS ${xy} Z_COLUMN=3)
check(quoted "points 300" GENERATOR --rows 300 OPTIONS ${xy} Z_COLUMN=3)
check(B "points 300" GENERATOR --rows 300 OPTIONS X_COLUMN=2 Y_COLUMN=3 CODEC=UTF-8 ${names})
check(E "points 300" GENERATOR --rows 300 OPTIONS X_COLUMN=2 Y_COLUMN=3 CODEC=UTF-8 ${names})
check(C "points 50" GENERATOR --rows 50 OPTIONS X_COLUMN=0 Y_COLUMN=1 ${names})
check(D "rows 600" GENERATOR --files 3 OPTIONS ${xy} FILES part0.csv part1.csv part2.csv)
check(wide "points 20" GENERATOR --rows 20 --columns 40 OPTIONS X_COLUMN=0 Y_COLUMN=1 ${names})

# Worst cases at their full size: a line of separators has no fields, blank lines are skipped.
check(separators "rows 2")
check(quotes "rows 3")
check(breaks "rows 3")
check(blanks "rows 2")
