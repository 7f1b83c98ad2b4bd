#include "qxnotify/verbs.h"

int main(int argc, char** argv)
{
    return qx::tool::run_qxnotify(argc, argv);
}
