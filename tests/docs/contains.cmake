# Fails unless PAGE holds the text of PROGRAM, to the letter.
file(READ ${PAGE} page)
file(READ ${PROGRAM} program)
string(FIND "${page}" "${program}" position)
if(position EQUAL -1)
    message(FATAL_ERROR "${PAGE} does not show ${PROGRAM} as it stands")
endif()
