# Sets the variables of Info.plist.in: plist_version, and plist_presets with the XML of each
# preset that is not empty.

function(escape_for_plist text result)
  string(REPLACE "&" "&amp;" text "${text}")
  string(REPLACE "<" "&lt;" text "${text}")
  set(${result} "${text}" PARENT_SCOPE)
endfunction()

# Omits an empty preset: the application would use an empty address, and reject every update for an
# empty update key.
function(add_preset key value)
  if(NOT value STREQUAL "")
    escape_for_plist("${value}" value)
    string(APPEND plist_presets "\t<key>${key}</key>\n\t<string>${value}</string>\n")
    set(plist_presets "${plist_presets}" PARENT_SCOPE)
  endif()
endfunction()

if(NOT ORVELOS_UPDATE_KEY STREQUAL "")
  # The key is $0 of the shell, so that no character of it is interpreted.
  execute_process(
    COMMAND bash -c ". ./scripts/update_key.sh && public_key_pem \"$0\"" "${ORVELOS_UPDATE_KEY}"
    WORKING_DIRECTORY "${CMAKE_SOURCE_DIR}" RESULT_VARIABLE status OUTPUT_QUIET)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "ORVELOS_UPDATE_KEY is not a public key as scripts/make-update-key.sh "
                        "prints it, or openssl is not installed: '${ORVELOS_UPDATE_KEY}'")
  endif()
endif()

escape_for_plist("${ORVELOS_VERSION}" plist_version)
set(plist_presets "")
add_preset(ORVELOSKey "${ORVELOS_KEY}")
add_preset(ORVELOSURL "${ORVELOS_URL}")
add_preset(ORVELOSUpdateKey "${ORVELOS_UPDATE_KEY}")
