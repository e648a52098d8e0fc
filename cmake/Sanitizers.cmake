if(VELMORAN_SANITIZE)
    add_compile_options(-fsanitize=${VELMORAN_SANITIZE} -fno-omit-frame-pointer
                        -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${VELMORAN_SANITIZE})
endif()
if(VELMORAN_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()
