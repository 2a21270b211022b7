// A program that only starts, says the record that the backend says first, and ends with its input.
#include <unistd.h>

int main()
{
    static const char record[] = "*COMMAND=info\n*TYPE=message\ncompany=Grass Valley\n"
                                 "copyright=Copyright (C) 2026 the routing switcher backend's "
                                 "authors\nfirmware version=\ninputs=0\nmodel=\n"
                                 "output routing controls=all\noutputs=0\n"
                                 "product=Grass Valley Native Protocol switcher or compatible\n\n";
    if (write(STDOUT_FILENO, record, sizeof record - 1) < 0) return 1;
    char byte = 0;
    return read(STDIN_FILENO, &byte, 1) == 0 ? 0 : 1;
}
