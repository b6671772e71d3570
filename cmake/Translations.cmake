# rr_translations(variable): compiles the room's translations/*.ts, and sets the variable to the .qm files, which lie in the
# room's folder of the build tree. scripts/translations brings the .ts files up to date.
function(rr_translations variable)
    file(GLOB ts_files CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/translations/*.ts")
    qt_add_lrelease(TS_FILES ${ts_files} QM_FILES_OUTPUT_VARIABLE qm_files NO_GLOBAL_TARGET
        OPTIONS -silent -nounfinished)
    set(${variable} "${qm_files}" PARENT_SCOPE)
endfunction()

# rr_add_translations(target): puts them into the target's resources, as ":/translations/NAME_fr.qm".
function(rr_add_translations target)
    rr_translations(qm_files)
    qt_add_resources(${target} "${target}Translations" PREFIX "/translations"
        BASE "${CMAKE_CURRENT_BINARY_DIR}" FILES ${qm_files})
endfunction()
