# Writes OUTPUT from SOURCE with the commit of the present checkout, if it differs from what is there.
execute_process(
  COMMAND git -C ${FOLDER} describe --always --dirty --abbrev=12 --exclude=*
  OUTPUT_VARIABLE commit OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
configure_file(${SOURCE} ${OUTPUT} @ONLY)
