/* A library of nothing: what is in it, the compiler puts into every library. */
int mc_nothing(void);
int mc_nothing(void) { return 0; }
