# The file, as it is found from the project's folder.
    .section .rodata
    .global EMBEDDED_DESCRIPTION
    .global EMBEDDED_DESCRIPTION_END
EMBEDDED_DESCRIPTION:
    .incbin "docs/openapi.yaml"
EMBEDDED_DESCRIPTION_END:
    .byte 0
    .section .note.GNU-stack, "", @progbits
