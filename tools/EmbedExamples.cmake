# Writes a C++ source holding the bundled example files as byte arrays, so the
# tool works from any directory without them.
#   cmake -DEXAMPLES_DIR=<dir> -DOUTPUT=<file.cpp> -P EmbedExamples.cmake

function(embed_file path symbol out_var)
  file(READ "${path}" hex HEX)
  file(SIZE "${path}" size)
  get_filename_component(name "${path}" NAME)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
  string(REGEX REPLACE "((0x[0-9a-f][0-9a-f],){16})" "\\1\n    " bytes "${bytes}")
  set(${out_var} "const unsigned char ${symbol}_data[] = {\n    ${bytes}0x00};\nconst EmbeddedFile ${symbol} = {\"examples/${name}\", ${symbol}_data, ${size}};\n" PARENT_SCOPE)
endfunction()

embed_file("${EXAMPLES_DIR}/model-1017.txt" kBundledModel model_text)
embed_file("${EXAMPLES_DIR}/model-1007.txt" kBundledModel1007 model1007_text)
embed_file("${EXAMPLES_DIR}/robot.ini" kBundledRobot robot_text)

file(WRITE "${OUTPUT}.tmp" "// Generated at build time from examples/ by tools/EmbedExamples.cmake.\n"
  "#include \"tools/EmbeddedExamples.h\"\n\n${model_text}\n${model1007_text}\n${robot_text}")
file(COPY_FILE "${OUTPUT}.tmp" "${OUTPUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUTPUT}.tmp")
