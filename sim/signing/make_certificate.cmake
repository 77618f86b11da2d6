# Makes a self-signed RSA code-signing certificate and its key from an
# OpenSSL request configuration: cmake -DOPENSSL= -DCONFIG= -DCERTIFICATE=
# -DKEY= -P make_certificate.cmake
get_filename_component(dir ${CERTIFICATE} DIRECTORY)
file(MAKE_DIRECTORY ${dir})
execute_process(
  COMMAND ${OPENSSL} req -x509 -newkey rsa:2048 -nodes -sha256 -days 3650
    -config ${CONFIG} -keyout ${KEY} -out ${CERTIFICATE}
  RESULT_VARIABLE result
  OUTPUT_VARIABLE output
  ERROR_VARIABLE output)
if(NOT result EQUAL 0)
  file(REMOVE ${CERTIFICATE} ${KEY})
  message(FATAL_ERROR "openssl could not make ${CERTIFICATE}:\n${output}")
endif()
