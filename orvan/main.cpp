#include <iostream>

#include "orvan/Program.h"

int main( int argc, char **argv ) {
    return orvan::runProgram( argc, argv, { std::cin, std::cout, std::cerr } );
}
