# Read by CPack between the installation to a folder of its own and the packing: adds what Debian
# wants of each package, and gives all files the time of the package.
set(packaging ${CPACK_VRN_SOURCE_DIR}/packaging)
set(time @$ENV{SOURCE_DATE_EPOCH})

function(run)
    execute_process(COMMAND ${ARGV} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(add_debian_files component package)
    set(share ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}/usr/share)
    set(doc ${share}/doc/${package})
    file(COPY ${packaging}/copyright DESTINATION ${doc})
    execute_process(COMMAND date --utc --rfc-email --date ${time}
        OUTPUT_VARIABLE date OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    file(WRITE ${doc}/changelog "vrn (${CPACK_PACKAGE_VERSION}) bookworm; urgency=medium

  * Release ${CPACK_PACKAGE_VERSION}; CHANGELOG.md of the sources tells what is new.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
    file(GLOB_RECURSE manuals ${share}/man/*.[1-9])
    run(gzip -9 -n ${doc}/changelog ${manuals})
    if(EXISTS ${packaging}/${package}.lintian-overrides)
        file(COPY ${packaging}/${package}.lintian-overrides DESTINATION ${share}/lintian/overrides)
        file(RENAME ${share}/lintian/overrides/${package}.lintian-overrides
            ${share}/lintian/overrides/${package})
    endif()
endfunction()

if(CPACK_GENERATOR STREQUAL "DEB")
    foreach(component IN LISTS CPACK_COMPONENTS_ALL)
        string(TOUPPER ${component} COMPONENT)
        add_debian_files(${component} ${CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME})
    endforeach()
endif()
# Whatever the umask is.
run(chmod -R u=rwX,go=rX ${CPACK_TEMPORARY_INSTALL_DIRECTORY})
run(find ${CPACK_TEMPORARY_INSTALL_DIRECTORY} -exec touch --no-dereference --date=${time} {} +)
