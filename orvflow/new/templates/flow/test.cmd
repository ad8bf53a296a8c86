@echo off
rem Checks and runs the workflow; exit code 0 when all is well. ORVFLOW names another program than the one in the PATH.
cd /d "%~dp0"
if "%ORVFLOW%"=="" set ORVFLOW=orvflow
"%ORVFLOW%" check flow.xml || exit /b 1
"%ORVFLOW%" run --fresh --timeout 60 flow.xml || exit /b 1
