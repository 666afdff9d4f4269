// An empty program, linked with the libraries that the program needs: the least that a start costs.

#include <jansson.h>
#include <openssl/ssl.h>

#include <cstdio>
#include <iostream>

int main(int argc, char**) {
    // Never true; keeps the libraries linked.
    if (argc > 100) std::cout << OpenSSL_version_num() << SSL_CTX_new(TLS_method()) << jansson_version_str();
    std::puts("0,0");
    return 0;
}
