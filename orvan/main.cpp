#include "orvan/Program.h"

#include <iostream>

int main( int argc, char **argv ) {
    return orvan::runProgram( argc, argv, { std::cin, std::cout, std::cerr } );
}
