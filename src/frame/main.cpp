// norvanke: sales registration of the suite. Started by the suite's menu
// program with four arguments; hands back to it by exec.
#include "frame/start.h"
#include "term/scr.h"

int main(int argc, char **argv) {
    frame::set_compiled(__DATE__, __TIME__);
    frame::frame_start(frame::OWN_NAME, frame::DATE_STRING, argc, argv);
    // Until the main menu stands: the information window, then back to the
    // suite's menu.
    frame::info_window(true);
    frame::start_program("norpot");
}
