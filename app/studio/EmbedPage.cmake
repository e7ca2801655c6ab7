# Writes OUTPUT, a C++ file with the files of PAGE in it. cmake -D PAGE=folder -D OUTPUT=file -P EmbedPage.cmake
set(type_html "text/html; charset=utf-8")
set(type_css "text/css; charset=utf-8")
set(type_js "text/javascript; charset=utf-8")
set(type_svg "image/svg+xml")
file(GLOB files ${PAGE}/*.html ${PAGE}/*.css ${PAGE}/*.js ${PAGE}/*.svg)
set(arrays "")
set(rows "")
foreach(file ${files})
  cmake_path(GET file FILENAME name)
  cmake_path(GET file EXTENSION LAST_ONLY extension)
  string(SUBSTRING ${extension} 1 -1 extension)
  string(MAKE_C_IDENTIFIER ${name} id)
  file(READ ${file} hex HEX)
  string(LENGTH "${hex}" length)
  math(EXPR length "${length} / 2")
  string(REGEX REPLACE "(..)" "'\\\\x\\1'," bytes "${hex}")
  string(APPEND arrays "const char ${id}[] = {${bytes}};\n")
  set(path /${name})
  if(name STREQUAL index.html)
    set(path /)
  endif()
  string(APPEND rows "    {\"${path}\", \"${type_${extension}}\", {${id}, ${length}}},\n")
endforeach()
file(WRITE ${OUTPUT} "#include \"page_files.h\"

namespace app {
namespace {
${arrays}const PageFile kFiles[] = {
${rows}};
}  // namespace

const PageFile* FindPageFile(std::string_view path) {
  for (const PageFile& file : kFiles) {
    if (file.path == path) return &file;
  }
  return nullptr;
}

}  // namespace app
")
