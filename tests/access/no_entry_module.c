int bu_not_an_access_module = 1;
