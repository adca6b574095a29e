/* An executable that calls what nobody defines. */
int TestCodeThatNobodyDefines(void);
int TestCodeTry(void);

int TestCodeTry(void) {
    return TestCodeThatNobodyDefines();
}
