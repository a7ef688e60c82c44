# What is installed with the library, as a folder beside it: it serves where nothing was installed. Both looks, the dark one and
# the skin "Light", are made from the sources in art/: the same controls and drawings in other colours, images in all sizes in
# which the interface is shown.
#   tarn_product(TARGET FOLDER)     makes the target, which lays everything out in FOLDER
function(tarn_product target folder)
    set(product ${PROJECT_SOURCE_DIR}/product)
    set(art ${PROJECT_SOURCE_DIR}/art)
    set(resources "${folder}/Brimtide Resources")
    set(laid_out)

    file(GLOB_RECURSE files CONFIGURE_DEPENDS RELATIVE ${product} ${product}/*)
    foreach(file ${files})
        add_custom_command(OUTPUT "${folder}/${file}" DEPENDS "${product}/${file}"
            COMMAND ${CMAKE_COMMAND} -E copy "${product}/${file}" "${folder}/${file}" VERBATIM)
        list(APPEND laid_out "${folder}/${file}")
    endforeach()

    foreach(weight Light Regular Medium SemiBold Bold)
        set(font "${resources}/Fonts/Inter-${weight}.otf")
        add_custom_command(OUTPUT "${font}"
            COMMAND ${CMAKE_COMMAND} -E copy "${INTER_FONTS}/Inter-${weight}.otf" "${font}" VERBATIM)
        list(APPEND laid_out "${font}")
    endforeach()

    file(GLOB drawings CONFIGURE_DEPENDS ${art}/*.svg.in)
    foreach(look dark light)
        include(${art}/${look}.cmake)
        set(drawn ${CMAKE_CURRENT_BINARY_DIR}/art/${look})
        set(skin "${resources}")
        if(NOT look STREQUAL "dark")
            set(skin "${resources}/Skins/Light")
        endif()
        configure_file(${art}/Controls.xml.in ${drawn}/Controls.xml @ONLY)
        add_custom_command(OUTPUT "${skin}/Controls.xml" DEPENDS ${drawn}/Controls.xml
            COMMAND ${CMAKE_COMMAND} -E copy ${drawn}/Controls.xml "${skin}/Controls.xml" VERBATIM)
        list(APPEND laid_out "${skin}/Controls.xml")
        foreach(drawing ${drawings})
            get_filename_component(name ${drawing} NAME_WE)
            set(coloured ${drawn}/${name}.svg)
            configure_file(${drawing} ${coloured} @ONLY)
            foreach(percent 100 150 200 300)
                set(image "${skin}/Images/${name}@${percent}.png")
                string(REPLACE "@100" "" image "${image}")
                add_custom_command(OUTPUT "${image}" DEPENDS ${coloured}
                    COMMAND ${CMAKE_COMMAND} -E make_directory "${skin}/Images"
                    COMMAND ${RSVG_CONVERT} --zoom ${percent}e-2 --output "${image}" ${coloured} VERBATIM)
                list(APPEND laid_out "${image}")
            endforeach()
        endforeach()
    endforeach()
    add_custom_target(${target} DEPENDS ${laid_out})
endfunction()
