# cmake -DOUTPUT=file.cpp -DSOURCES=a.png;b-c.png -P write_embedded_images.cmake
# Each image becomes hxsdk::ui::embedded_images::NAME (b-c.png: b_c), a span over its bytes.
set(text "// Generated from ui/images at build time; edit the images there.\n")
string(APPEND text "#include \"ui/embedded_images.h\"\n\nnamespace hxsdk::ui::embedded_images {\n")
foreach(source ${SOURCES})
  get_filename_component(name ${source} NAME_WE)
  string(MAKE_C_IDENTIFIER ${name} symbol)
  file(READ ${source} hex HEX)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
  # Sixteen bytes a line keeps the generated source readable in a compiler's messages.
  string(REGEX REPLACE "((0x..,){16})" "\\1\n" bytes "${bytes}")
  string(APPEND text "namespace {\nconstexpr unsigned char ${symbol}_bytes[] = {\n${bytes}};\n}\n")
  string(APPEND text "const std::span<const unsigned char> ${symbol}{${symbol}_bytes};\n")
endforeach()
string(APPEND text "}  // namespace hxsdk::ui::embedded_images\n")
file(WRITE ${OUTPUT}.new "${text}")
file(COPY_FILE ${OUTPUT}.new ${OUTPUT} ONLY_IF_DIFFERENT)
