# Loads the job report of a host run in headless Chromium and checks the page it built: the
# table with its rows, numbers right-aligned, the warning box, and the adapter's name as text.
#   cmake -DCHROMIUM=... -DREPORT=.../report.html -DWORK_DIR=... -P ReportInBrowser.cmake

cmake_minimum_required(VERSION 3.20)

if(NOT CHROMIUM)
    message(FATAL_ERROR "chromium was not found; install the chromium package")
endif()
if(NOT EXISTS ${REPORT})
    message(FATAL_ERROR "${REPORT}: missing")
endif()
# A fresh profile each time, so nothing of an earlier run is read back.
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
execute_process(
    COMMAND ${CHROMIUM} --headless --no-sandbox --disable-gpu --disable-quic --no-first-run
            --disable-background-networking --disable-component-update --disable-sync
            --user-data-dir=${WORK_DIR} --dump-dom file://${REPORT}
    RESULT_VARIABLE result OUTPUT_VARIABLE dom ERROR_VARIABLE errors TIMEOUT 240)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "chromium exited with ${result}:\n${errors}")
endif()
file(WRITE ${WORK_DIR}/report.dom.html "${dom}")

function(expect pattern what)
    if(NOT dom MATCHES "${pattern}")
        message(SEND_ERROR "the page lacks ${what}")
    endif()
endfunction()
function(expect_not pattern what)
    if(dom MATCHES "${pattern}")
        message(SEND_ERROR "the page has ${what}")
    endif()
endfunction()

expect("<title>Job report: lot LOT-[0-9]+</title>" "its title")
if(NOT dom MATCHES "<table[^>]*>(.*)</table>")
    message(FATAL_ERROR "the page has no table")
endif()
string(REGEX MATCHALL "<tr>" rows "${CMAKE_MATCH_1}")
list(LENGTH rows count)
if(NOT count EQUAL 7)
    message(SEND_ERROR "the table has ${count} rows where the header and 6 devices were written")
endif()
expect("<th[^>]*>Rate \\(devices/h\\)</th>" "the header cell of the rates")
expect("<td[^>]*text-align:right[^>]*>1440\\.0</td>" "a right-aligned rate")
expect("<td[^>]*>failed</td>" "the failed device's row")
expect("<div class=\"warning\"[^>]*><b>Warning:</b> Device not responding on socket 3\\.</div>"
       "the warning box")
expect("adapter SOP8 &lt;A&amp;B&gt;, two sites" "the adapter's name as text")
expect_not("<[aA]&[bB]" "an element made of the adapter's name")
message(STATUS "report.html: ${count} table rows and the warning shown by ${CHROMIUM}")
