# cmake -DOUTPUT=file.cpp -DSOURCES=a.vert;b.frag -P write_embedded_shaders.cmake
# Each source becomes shader_sources::NAME_EXT (material.frag: material_frag), a shader_source
# whose text is NUL-terminated and whose length counts the characters without the terminator.
set(text "// Generated from renderer/shaders at build time; edit the sources there.\n")
string(APPEND text "#include \"renderer/shader_sources.h\"\n\nnamespace shader_sources {\n")
foreach(source ${SOURCES})
  get_filename_component(name ${source} NAME)
  string(REPLACE "." "_" symbol ${name})
  file(READ ${source} content)
  string(LENGTH "${content}" length)
  string(APPEND text "const shader_source ${symbol}{R\"lunaform_source(${content})lunaform_source\", ${length}};\n")
endforeach()
string(APPEND text "}  // namespace shader_sources\n")
file(WRITE ${OUTPUT}.new "${text}")
file(COPY_FILE ${OUTPUT}.new ${OUTPUT} ONLY_IF_DIFFERENT)
