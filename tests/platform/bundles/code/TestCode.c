/* The executable of a test's bundle. */
int TestCodeAnswer(void);
int gTestCodeNumber = 7;

int TestCodeAnswer(void) {
    return 42;
}
