/* Needs nothing; opens on the first pass. */
int vistrel_sibling_b(void) {
    return 41;
}
