# Writes OUTPUT, a C++ source that holds the files of FOLDER which page_parts.h names.
file(WRITE "${OUTPUT}.new" "#include \"node/timeline/page_parts.h\"\n\nnamespace timeline {\n")
foreach(kind html css js)
  file(READ "${FOLDER}/page.${kind}" text)
  file(APPEND "${OUTPUT}.new"
       "const std::string_view page_${kind} = R\"page_part(${text})page_part\";\n")
endforeach()
file(APPEND "${OUTPUT}.new" "}  // namespace timeline\n")
file(RENAME "${OUTPUT}.new" "${OUTPUT}")
