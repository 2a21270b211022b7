# The files, as they are found from the project's folder.
    .section .rodata
    .macro embed name, path
    .global embedded_\name
    .global embedded_\name\()_end
embedded_\name:
    .incbin "\path"
embedded_\name\()_end:
    .byte 0
    .endm
    embed description, "docs/openapi.yaml"
    embed index_html, "server/web/page/index.html"
    embed first_html, "server/web/page/first.html"
    embed first_js, "server/web/page/first.js"
    embed page_css, "server/web/page/page.css"
    .section .note.GNU-stack, "", @progbits
