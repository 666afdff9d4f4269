# Warnings and sanitizers for every target of the project.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wformat=2 -Wnull-dereference
                    -Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast -Wcast-align -Wduplicated-cond
                    -Wlogical-op -Wuseless-cast -Wextra-semi)
if(M2M_WERROR)
    add_compile_options(-Werror)
endif()
if(M2M_SANITIZE)
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
else()
    add_compile_options(-fstack-protector-strong)
    add_link_options(-Wl,-z,relro,-z,now)
endif()
