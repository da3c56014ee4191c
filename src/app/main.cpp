// Ostrel: the tray app that shows how much of your AI coding allowances is left.
#include "app/ostrel_app.h"

int main(int argc, char** argv) {
    return ostrel::runOstrel(argc, argv);
}
