#include "app/EditorApplication.h"

int main(int argc, char **argv)
{
    return orvel::runEditor(argc, argv, orvel::mainComponentUrl());
}
