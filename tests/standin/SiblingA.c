/* Needs a symbol of libCommonB without naming it as a dependency: opens only after B. */
int vistrel_sibling_b(void);
int vistrel_sibling_a(void) {
    return vistrel_sibling_b() + 1;
}
