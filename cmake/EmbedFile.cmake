# cmake -DINPUT=FILE -DOUTPUT=FILE.cpp -DNAME=kName -P EmbedFile.cmake: a file's bytes as OrvWorkFlow::Program::kName, a
# std::string_view.
cmake_minimum_required(VERSION 3.25)
file(READ ${INPUT} bytes HEX)
string(LENGTH "${bytes}" digits)
math(EXPR size "${digits} / 2")
string(REPEAT "[0-9a-f]" 128 line)
string(REGEX REPLACE "(${line})" "\\1\"\n    \"" bytes "${bytes}")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "\\\\x\\1" bytes "${bytes}")
file(WRITE ${OUTPUT} "#include <string_view>

namespace OrvWorkFlow::Program {

extern const std::string_view ${NAME};
const std::string_view ${NAME}{
    \"${bytes}\",
    ${size}};

}  // namespace OrvWorkFlow::Program
")
