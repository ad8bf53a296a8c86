@echo off
rem Checks and runs the workflow; exit code 0 when all is well. ORVFLOW names another program than the one in the PATH.
setlocal
cd /d "%~dp0"
if "%ORVFLOW%"=="" set ORVFLOW=orvflow
"%ORVFLOW%" check flow.xml
if errorlevel 1 exit /b 1
"%ORVFLOW%" run --fresh --timeout 60 flow.xml
if errorlevel 1 exit /b 1
exit /b 0
