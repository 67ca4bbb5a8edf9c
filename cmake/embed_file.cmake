# Turns the file IN into a C++ source OUT that defines SYMBOL and SYMBOL_size.
file(READ ${IN} hex HEX)
string(LENGTH "${hex}" hex_length)
math(EXPR size "${hex_length} / 2")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
# A line break every 32 bytes keeps the generated file readable by editors.
string(REGEX REPLACE "((0x..,){32})" "\\1\n" bytes "${bytes}")
file(WRITE ${OUT}.tmp
  "// Generated from ${IN}; do not edit.\n"
  "extern const unsigned char ${SYMBOL}[];\n"
  "extern const unsigned long ${SYMBOL}_size;\n"
  "alignas(16) const unsigned char ${SYMBOL}[${size} + 1] = {\n${bytes}0};\n"
  "const unsigned long ${SYMBOL}_size = ${size};\n")
file(RENAME ${OUT}.tmp ${OUT})
