# cmake -DROOT=FOLDER -DOUT=FILE.cpp -P EmbedFiles.cmake: a source that holds the files below a folder, byte for byte, as the
# table of orvflow/new/Templates.h.
file(GLOB_RECURSE files LIST_DIRECTORIES false RELATIVE ${ROOT} ${ROOT}/*)
list(SORT files)
set(rows)
foreach(file IN LISTS files)
  file(READ ${ROOT}/${file} bytes HEX)
  string(REGEX REPLACE "(..)" "\\\\x\\1" bytes "${bytes}")
  string(APPEND rows "    {\"${file}\", \"${bytes}\"sv},\n")
endforeach()
file(WRITE ${OUT} "#include \"orvflow/new/Templates.h\"

namespace OrvWorkFlow::Program {

using namespace std::string_view_literals;

std::vector<TemplateFile> TemplateFiles() {
  return {
${rows}  };
}

}  // namespace OrvWorkFlow::Program
")
