find_program(THRIFT_COMPILER thrift REQUIRED)

# Generates the C++ code of a .thrift file into the build tree at build time.
# Sets <out_var> to the list of generated sources.
function(corvel_thrift_generate out_var idl service)
    get_filename_component(_name ${idl} NAME_WE)
    set(_dir ${CMAKE_CURRENT_BINARY_DIR}/gen-cpp)
    set(_srcs ${_dir}/${_name}_types.cpp ${_dir}/${service}.cpp)
    set(_hdrs ${_dir}/${_name}_types.h ${_dir}/${service}.h)
    add_custom_command(
        OUTPUT ${_srcs} ${_hdrs}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${_dir}
        COMMAND ${THRIFT_COMPILER} --gen cpp:no_skeleton -out ${_dir} ${idl}
        DEPENDS ${idl}
        COMMENT "Generating C++ from ${_name}.thrift"
        VERBATIM)
    set(${out_var} ${_srcs} ${_hdrs} PARENT_SCOPE)
endfunction()
