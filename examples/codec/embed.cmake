# Writes INPUT's bytes as a C array named NAME into OUTPUT.
file(READ ${INPUT} hex HEX)
string(LENGTH "${hex}" length)
math(EXPR size "${length} / 2")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
string(REGEX REPLACE "(0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,)" "\\1\n" bytes "${bytes}")
file(WRITE ${OUTPUT} "// Generated from ${INPUT}.\nextern \"C\" const unsigned char ${NAME}[] = {\n${bytes}};\nextern \"C\" const unsigned long ${NAME}Size = ${size};\n")
