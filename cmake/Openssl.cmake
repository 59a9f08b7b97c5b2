# require_openssl(TARGET): builds libcrypto for one of cmake/openssl/targets.conf
# unless it is there already, and describes it as the interface target openssl.
function(require_openssl Target)
  set(Script ${CMAKE_SOURCE_DIR}/cmake/openssl/build.sh)
  execute_process(COMMAND ${Script} ${Target} ${OPENSSL_CACHE} ${OPENSSL_SOURCE} COMMAND_ERROR_IS_FATAL ANY)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${Script}
               ${CMAKE_SOURCE_DIR}/cmake/openssl/targets.conf ${CMAKE_SOURCE_DIR}/cmake/openssl/options.txt
               ${CMAKE_SOURCE_DIR}/cmake/openssl/runtime-names.txt)
  add_library(openssl STATIC IMPORTED GLOBAL)
  set_target_properties(openssl PROPERTIES IMPORTED_LOCATION ${OPENSSL_CACHE}/${Target}/libcrypto.a)
  target_include_directories(openssl SYSTEM INTERFACE ${OPENSSL_CACHE}/${Target}/include
                             ${OPENSSL_CACHE}/source/include)
  target_compile_definitions(openssl INTERFACE SIXTY_FOUR_BIT OPENSSL_SUPPRESS_DEPRECATED)
endfunction()
