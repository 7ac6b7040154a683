/* Nothing but a file that is named like a library of the project and lies elsewhere. */

__attribute__((visibility("default"))) int TellarTestSecondLoggingHost(void) {
    return 1;
}
