#include "app/startup.h"

int main(int argc, char** argv)
{
    return Corvel::runConsole(argc, argv);
}
