# Authenticode signing of the build's Windows binaries, with test
# certificates made in the build tree (keys never leave it). The suite knows
# its own binaries by their signer's name, so the stand-ins are signed as the
# suite's publisher; a second publisher gives the wrong-signer cases.
#
#   zent_sign(target)           signs the target's output after each link as
#                               "Halvane Corporation"
#   zent_sign_as_other(target)  the same, as "Untrusted Test Publisher"
find_program(ZENT_OPENSSL openssl REQUIRED)
find_program(ZENT_OSSLSIGNCODE osslsigncode REQUIRED)

set(ZENT_SIGNING_SOURCE_DIR ${CMAKE_CURRENT_LIST_DIR})
set(ZENT_SIGNING_DIR ${CMAKE_BINARY_DIR}/signing)

foreach(publisher halvane_publisher other_publisher)
  add_custom_command(
    OUTPUT ${ZENT_SIGNING_DIR}/${publisher}.crt ${ZENT_SIGNING_DIR}/${publisher}.key
    COMMAND ${CMAKE_COMMAND}
      -DOPENSSL=${ZENT_OPENSSL}
      -DCONFIG=${ZENT_SIGNING_SOURCE_DIR}/${publisher}.cnf
      -DCERTIFICATE=${ZENT_SIGNING_DIR}/${publisher}.crt
      -DKEY=${ZENT_SIGNING_DIR}/${publisher}.key
      -P ${ZENT_SIGNING_SOURCE_DIR}/make_certificate.cmake
    DEPENDS ${ZENT_SIGNING_SOURCE_DIR}/${publisher}.cnf
            ${ZENT_SIGNING_SOURCE_DIR}/make_certificate.cmake
    COMMENT "Making the test code-signing certificate ${publisher}"
    VERBATIM)
  list(APPEND ZENT_SIGNING_OUTPUTS ${ZENT_SIGNING_DIR}/${publisher}.crt)
endforeach()
add_custom_target(zent_signing_certificates DEPENDS ${ZENT_SIGNING_OUTPUTS})

function(zent_sign_with target publisher)
  set(certificate ${ZENT_SIGNING_DIR}/${publisher}.crt)
  add_dependencies(${target} zent_signing_certificates)
  # A new certificate links, and so signs, the target again.
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${certificate})
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_COMMAND}
      -DOSSLSIGNCODE=${ZENT_OSSLSIGNCODE}
      -DCERTIFICATE=${certificate}
      -DKEY=${ZENT_SIGNING_DIR}/${publisher}.key
      -DFILE=$<TARGET_FILE:${target}>
      -P ${ZENT_SIGNING_SOURCE_DIR}/sign_file.cmake
    VERBATIM)
endfunction()

function(zent_sign target)
  zent_sign_with(${target} halvane_publisher)
endfunction()

function(zent_sign_as_other target)
  zent_sign_with(${target} other_publisher)
endfunction()
