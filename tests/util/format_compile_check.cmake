# Compiles each case of format_compile_cases.cpp. Case 0 must build; every
# other case must be refused, with the checker's own diagnostic.
set(expected
  builds
  format_error_argument_does_not_match_conversion
  format_error_argument_does_not_match_conversion
  format_error_argument_does_not_match_conversion
  format_error_argument_does_not_match_conversion
  format_error_argument_does_not_match_conversion
  format_error_too_few_arguments
  format_error_too_many_arguments
  format_error_bad_conversion
  format_error_bad_conversion
  format_error_argument_does_not_match_conversion
  format_error_argument_does_not_match_conversion
)
set(failures 0)
list(LENGTH expected count)
math(EXPR last "${count} - 1")
foreach(case RANGE ${last})
  list(GET expected ${case} diagnostic)
  execute_process(
    COMMAND ${CXX} -std=c++20 -fsyntax-only -I${INCLUDE} -DZENT_CASE=${case} ${SOURCE}
    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(case EQUAL 0)
    if(NOT result EQUAL 0)
      message(SEND_ERROR "case 0 must build:\n${output}")
      math(EXPR failures "${failures} + 1")
    endif()
  elseif(result EQUAL 0)
    message(SEND_ERROR "case ${case} built but must be refused")
    math(EXPR failures "${failures} + 1")
  elseif(NOT output MATCHES "${diagnostic}")
    message(SEND_ERROR "case ${case} was refused without ${diagnostic}:\n${output}")
    math(EXPR failures "${failures} + 1")
  else()
    message(STATUS "case ${case}: refused with ${diagnostic}")
  endif()
endforeach()
if(failures GREATER 0)
  message(FATAL_ERROR "${failures} of ${count} cases wrong")
endif()
