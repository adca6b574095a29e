/* An executable that stands on another library. */
int TestCodeAnswer(void);
int TestCodeDouble(void);

int TestCodeDouble(void) {
    return 2 * TestCodeAnswer();
}
