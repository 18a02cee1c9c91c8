# Writes OUTPUT from SOURCE with the commit of the present checkout, or with KNOWN_COMMIT, if it differs from what is there.
set(commit "${KNOWN_COMMIT}")
if(NOT commit)
  execute_process(
    COMMAND git -C ${FOLDER} describe --always --dirty --abbrev=12 --exclude=*
    OUTPUT_VARIABLE commit OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()
configure_file(${SOURCE} ${OUTPUT} @ONLY)
