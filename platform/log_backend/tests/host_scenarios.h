/// What a host program may do around its log statements; scenarios of log_child.
#pragma once

namespace qx::test {

void closedError();         ///< standard error is a pipe that nobody reads any more
void closedOutput();        ///< standard output is
void forkAndLogInBoth();    ///< the child ends by exit
void forkWhileThreadsLog(); ///< fifty children, each of which logs once
void showThreads(); ///< after two statements: "<name> <blocked signals in hex>" of each thread, on standard output
void fortyHandlerNames();  ///< none of which exists
void logInKeyDestructor(); ///< of a key that is younger than the back end's
void hundredThreads();     ///< one after the other; the heap's growth in bytes, on standard output

} // namespace qx::test
