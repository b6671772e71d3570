# Sources that cargo brings, which knows them by their checksums.

# rr_cargo_fetch(WHY DIRECTORY [option ...]): fetches what the Cargo.lock in that directory names; what was fetched once
# needs no network. Sets WHY to why that failed, in cargo's words, or to nothing. RR_CARGO is found by the caller.
function(rr_cargo_fetch why directory)
    foreach(network --offline --config=net.retry=2)
        execute_process(COMMAND "${RR_CARGO}" fetch --quiet --locked ${ARGN} ${network} WORKING_DIRECTORY "${directory}"
            RESULT_VARIABLE failed OUTPUT_QUIET ERROR_VARIABLE said TIMEOUT 300)
        if(failed EQUAL 0)
            set(${why} "" PARENT_SCOPE)
            return()
        endif()
    endforeach()
    set(${why} "${said} (${failed})" PARENT_SCOPE)
endfunction()
