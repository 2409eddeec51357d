// norvanke: sales registration of the suite. Started by the suite's menu
// program with four arguments; hands back to it by exec.
#include "frame/hoofdmenu.h"
#include "frame/start.h"

int main(int argc, char **argv) {
    frame::set_compiled(__DATE__, __TIME__);
    frame::frame_start(frame::OWN_NAME, frame::DATE_STRING, argc, argv);
    hoofd::hoofdprogramma();
}
