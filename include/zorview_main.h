// The program's entry: everything main does, callable from tests.
#ifndef ZORVIEW_MAIN_H
#define ZORVIEW_MAIN_H

int zorview_main(int argc, char **argv);

#endif
