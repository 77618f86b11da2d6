# Signs a PE file in place with an Authenticode SHA-256 signature:
# cmake -DOSSLSIGNCODE= -DCERTIFICATE= -DKEY= -DFILE= -P sign_file.cmake
set(signed ${FILE}.signed)
file(REMOVE ${signed})
execute_process(
  COMMAND ${OSSLSIGNCODE} sign -certs ${CERTIFICATE} -key ${KEY} -h sha256
    -in ${FILE} -out ${signed}
  RESULT_VARIABLE result
  OUTPUT_VARIABLE output
  ERROR_VARIABLE output)
if(NOT result EQUAL 0)
  file(REMOVE ${signed})
  message(FATAL_ERROR "osslsigncode could not sign ${FILE}:\n${output}")
endif()
file(RENAME ${signed} ${FILE})
