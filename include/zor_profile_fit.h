// A point spread fitted to the graph's profile along x, y or z.
#ifndef ZOR_PROFILE_FIT_H
#define ZOR_PROFILE_FIT_H

// gaussian 1: a Gaussian ("F"); 0: a 1/(1 + r^2) shape ("f"). Starts from
// the sample of largest magnitude, an eighth of the chosen range as width
// and the cross-hair as centre; the fitted curve goes to graph.yFit.
void action_fit_psf(int gaussian);

#endif
