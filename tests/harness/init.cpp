// The first process of a private machine: says that the machine is ready, then keeps it alive.
//
//     init FD     FD: a socket of the test that made the machine
//
// The byte written to the socket tells the test that the machine is ready and, by the kernel's
// own credentials, which process this is. When the test closes its end of the socket, or dies,
// this process ends and takes the whole machine with it.
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    const int socket = atoi(argv[1]);
    signal(SIGCHLD, SIG_IGN);  // orphans of the machine end up here: let the kernel reap them
    if (write(socket, "r", 1) != 1) return 1;
    char byte = 0;
    while (read(socket, &byte, 1) > 0) {
    }
    return 0;
}
