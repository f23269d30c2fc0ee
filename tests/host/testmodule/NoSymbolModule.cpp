// A loadable library that is not a worker module: it exports no worker_create.

extern "C" int mivo_test_not_a_module()
{
    return 42;
}
