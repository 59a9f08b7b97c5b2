# add_builtin_keys(TARGET): gives TARGET the header BuiltinModuli.h, made from
# the public keys in BUILTIN_KEYS_DIR, and makes it again when one of them
# changes.
set(BUILTIN_KEYS_DIR "${CMAKE_SOURCE_DIR}/keys" CACHE PATH "Public keys of the built-in store: type1.pem, type3.pem, type4.pem")
option(REFUSE_DEVELOPMENT_KEYS "Fail the build when a built-in key is on the list of development keys" OFF)

function(add_builtin_keys Target)
  set(Script ${CMAKE_SOURCE_DIR}/cmake/builtin-moduli.sh)
  set(List ${CMAKE_SOURCE_DIR}/keys/development-keys.txt)
  set(Header ${CMAKE_CURRENT_BINARY_DIR}/BuiltinModuli.h)
  if(REFUSE_DEVELOPMENT_KEYS)
    set(Refused ${List})
  endif()
  get_filename_component(Keys ${BUILTIN_KEYS_DIR} ABSOLUTE BASE_DIR ${CMAKE_BINARY_DIR})
  # A key that is missing is the script's to report.
  file(GLOB KeyFiles CONFIGURE_DEPENDS ${Keys}/type*.pem)
  add_custom_command(OUTPUT ${Header} VERBATIM
    COMMAND ${Script} ${Header} ${Keys} ${Refused}
    DEPENDS ${Script} ${List} ${KeyFiles}
    COMMENT "Reading the built-in keys")
  target_sources(${Target} PRIVATE ${Header})
  target_include_directories(${Target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR})
endfunction()
