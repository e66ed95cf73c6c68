// Linked with the whole of one library and what it declares it uses; never run.
int main()
{
    return 0;
}
