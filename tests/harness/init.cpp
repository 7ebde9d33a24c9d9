// The first process of a private machine: reports that the machine is ready, then keeps it alive.
//
//     init FD     FD: a socket of the test that created the machine
//
// The byte written to the socket tells the test that the machine is ready; the kernel's credentials
// tell it the pid of this process. When the test closes its end of the socket, or dies, this
// process exits and takes the whole machine with it.
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    const int socket = atoi(argv[1]);
    signal(SIGCHLD, SIG_IGN);  // let the kernel reap the machine's orphans
    if (write(socket, "r", 1) != 1) return 1;
    char byte = 0;
    while (read(socket, &byte, 1) > 0) {
    }
    return 0;
}
